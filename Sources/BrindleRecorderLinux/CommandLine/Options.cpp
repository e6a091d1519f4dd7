#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include "BrindleRecorderLinux/CommandLine/CommandTable.hpp"

#include <algorithm>
#include <fmt/format.h>

namespace brindle {

namespace {

using Entry = CommandTable::Entry;
using Argument = CommandTable::Argument;
using Arguments = std::vector<std::string_view>;

bool isHelp(std::string_view argument) {
    return argument == CommandTable::help || argument == "-h";
}
bool isVersion(std::string_view argument) {
    return argument == CommandTable::version || argument == "-V";
}
bool isOption(std::string_view argument) {
    return argument.starts_with('-');
}

std::string unrecognized(std::string_view argument) {
    return fmt::format(
        "unrecognized {} '{}'", isOption(argument) ? "option" : "argument", argument);
}

/// The command that has the option.
std::string_view commandWith(std::string_view option) {
    for (const Entry& entry : CommandTable::entries()) {
        if (std::ranges::find(entry.options, option, &CommandTable::Option::name) !=
            entry.options.end()) {
            return entry.name;
        }
    }
    return {};
}

/// Reads a command line from left to right.
class Reading {
  public:
    Expected<Options, std::string> read(const Arguments& arguments) {
        for (auto next = arguments.begin(); next != arguments.end(); ++next) {
            if (isHelp(*next)) {
                return Options{
                    .command = Options::Command::showHelp,
                    .helpOf = entry_ != nullptr ? std::optional{entry_->command} : std::nullopt};
            }
            if (isVersion(*next)) {
                return Options{.command = Options::Command::showVersion};
            }
            if (const auto wrong = take(*next); !wrong.empty()) {
                return unexpected{wrong};
            }
            if (takesAllThatFollows() && !(next + 1 != arguments.end() && isHelp(next[1]))) {
                options_.words.assign(next + 1, arguments.end());
                break;
            }
        }
        return finished();
    }

  private:
    [[nodiscard]] bool takesAllThatFollows() const {
        return entry_ != nullptr && entry_->argument == Argument::menuLine;
    }

    /// What is wrong with it; empty for nothing.
    std::string take(std::string_view argument) {
        if (const auto* const option = CommandTable::option(argument)) {
            options_.*option->flag = true;
            optionsGiven_.push_back(option->name);
            return {};
        }
        const bool takesAnArgument = entry_ != nullptr && entry_->argument != Argument::none &&
                                     options_.words.empty() && !isOption(argument);
        if (takesAnArgument) {
            options_.words.emplace_back(argument);
            return {};
        }
        const auto* const entry = CommandTable::named(argument);
        const bool isKnown = entry != nullptr || argument == CommandTable::headless;
        if (!isKnown) {
            return unrecognized(argument);
        }
        const auto command = entry != nullptr ? entry->command : Options::Command::runHeadless;
        if (!command_.empty() && options_.command != command) {
            return fmt::format("{} and {} exclude each other", command_, argument);
        }
        command_ = argument;
        entry_ = entry;
        options_.command = command;
        return {};
    }

    Expected<Options, std::string> finished() {
        for (const auto option : optionsGiven_) {
            const bool belongs =
                entry_ != nullptr &&
                std::ranges::find(entry_->options, option, &CommandTable::Option::name) !=
                    entry_->options.end();
            if (!belongs) {
                return unexpected{fmt::format("{} goes with {}", option, commandWith(option))};
            }
        }
        if (entry_ != nullptr && entry_->argument != Argument::none) {
            const auto choices = CommandTable::choices(entry_->argument);
            const bool isMissing = options_.words.empty() || options_.words.front().empty();
            if (isMissing ||
                (!choices.empty() &&
                 std::ranges::find(choices, options_.words.front()) == choices.end())) {
                return unexpected{fmt::format("{} needs {}", command_, need(entry_->argument))};
            }
        }
        return options_;
    }

    static std::string_view need(Argument argument) {
        switch (argument) {
        case Argument::movie:
            return "the name of a .mov file";
        case Argument::menuLine:
            return "the words of a line of the menu";
        case Argument::answer:
            return "the word record or skip";
        case Argument::shell:
            return "the name of a shell: bash, fish or zsh";
        case Argument::none:
            break;
        }
        return {};
    }

    Options options_{.command = Options::Command::runDesktop};
    const Entry* entry_ = nullptr;
    std::string_view command_; ///< as it was typed
    Arguments optionsGiven_;
};

} // namespace

Expected<Options, std::string> Options::parse(const Arguments& arguments) {
    return Reading{}.read(arguments);
}

} // namespace brindle
