#include "BrindleRecorderLinux/CommandLine/Completions.hpp"

#include "BrindleRecorderLinux/CommandLine/CommandTable.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

using Entry = CommandTable::Entry;
using Argument = CommandTable::Argument;

std::string choicesOf(const Entry& entry) {
    std::string words;
    for (const auto choice : CommandTable::choices(entry.argument)) {
        words += fmt::format("{}{}", words.empty() ? "" : " ", choice);
    }
    return words;
}

std::string optionsOf(const Entry& entry) {
    std::string words;
    for (const auto& option : entry.options) {
        words += fmt::format("{} ", option.name);
    }
    return words.append(CommandTable::help);
}

/// Between two single quotes, with which no words of the table would go well otherwise.
std::string inSingleQuotes(std::string_view words) {
    std::string text = "'";
    for (const char character : words) {
        if (character == '\'') {
            text += "'\\''";
        } else {
            text += character;
        }
    }
    return text + '\'';
}

std::string forBash() {
    std::string commands;
    std::string cases;
    for (const Entry& entry : CommandTable::entries()) {
        commands += fmt::format("{} ", entry.name);
        const auto patterns = entry.alias.empty() ? std::string{entry.name}
                                                  : fmt::format("{}|{}", entry.name, entry.alias);
        if (entry.argument == Argument::movie) {
            cases += fmt::format(
                "        {})\n"
                "            compopt -o filenames\n"
                "            mapfile -t COMPREPLY < <(compgen -f -X '!*.mov' -- \"$current\"; "
                "compgen -d -- \"$current\")\n"
                "            return ;;\n",
                patterns);
        } else {
            cases += fmt::format(
                "        {}) words={} ;;\n", patterns,
                inSingleQuotes(choicesOf(entry).append(" ").append(optionsOf(entry))));
        }
    }
    return fmt::format(
        "# How bash completes the commands of brindle-recorder.\n"
        "_brindle_recorder() {{\n"
        "    local current=${{COMP_WORDS[COMP_CWORD]}} command= words=\n"
        "    [ \"$COMP_CWORD\" -le 1 ] || command=${{COMP_WORDS[1]}}\n"
        "    case $command in\n"
        "        '') words={} ;;\n"
        "{}"
        "    esac\n"
        "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        "}}\n"
        "complete -F _brindle_recorder brindle-recorder\n",
        inSingleQuotes(fmt::format(
            "{}{} {} {}", commands, CommandTable::headless, CommandTable::help,
            CommandTable::version)),
        cases);
}

/// One of zsh's pairs of a word and what it means, between which a colon stands.
std::string pairForZsh(std::string_view name, std::string_view words) {
    std::string text;
    for (const char character : words) {
        text += character == ':' ? "\\:" : std::string(1, character);
    }
    return inSingleQuotes(fmt::format("{}:{}", name, text));
}

std::string forZsh() {
    std::string commands;
    std::string cases;
    for (const Entry& entry : CommandTable::entries()) {
        commands += fmt::format("        {}\n", pairForZsh(entry.name, entry.summary));
        std::string work;
        if (const auto choices = choicesOf(entry); !choices.empty()) {
            work += fmt::format("            compadd -- {}\n", choices);
        } else if (entry.argument == Argument::movie) {
            work += "            _files -g '*.mov'\n";
        }
        std::string options;
        for (const auto& option : entry.options) {
            options += pairForZsh(option.name, option.words) + ' ';
        }
        options += pairForZsh(CommandTable::help, "say more about the command");
        cases += fmt::format(
            "        {})\n{}            options=({})\n            _describe -o option options ;;\n",
            entry.name, work, options);
    }
    return fmt::format(
        "#compdef brindle-recorder\n"
        "# How zsh completes the commands of brindle-recorder.\n"
        "_brindle_recorder() {{\n"
        "    local -a commands options\n"
        "    commands=(\n{}    )\n"
        "    if (( CURRENT == 2 )); then\n"
        "        options=({} {} {})\n"
        "        _describe command commands\n"
        "        _describe -o option options\n"
        "        return\n"
        "    fi\n"
        "    case $words[2] in\n"
        "{}"
        "    esac\n"
        "}}\n"
        "if [[ $funcstack[1] == _brindle[-_]recorder ]]; then\n"
        "    _brindle_recorder \"$@\"\n"
        "else\n"
        "    compdef _brindle_recorder brindle-recorder\n"
        "fi\n",
        commands, pairForZsh(CommandTable::headless, "run without a user interface"),
        pairForZsh(CommandTable::help, "say what there is"),
        pairForZsh(CommandTable::version, "show the version"), cases);
}

std::string forFish() {
    const auto option = [](std::string_view condition, std::string_view name,
                           std::string_view words) {
        return fmt::format(
            "complete -c brindle-recorder -n {} -l {} -d {}\n", inSingleQuotes(condition),
            name.substr(2), inSingleQuotes(words));
    };
    constexpr std::string_view noCommand = "__fish_use_subcommand";
    std::string text = "# How fish completes the commands of brindle-recorder.\n"
                       "complete -c brindle-recorder -f\n";
    text += option(noCommand, CommandTable::headless, "run without a user interface");
    text += option(noCommand, CommandTable::version, "show the version");
    text += fmt::format(
        "complete -c brindle-recorder -s h -l {} -d {}\n", CommandTable::help.substr(2),
        inSingleQuotes("say what there is"));
    for (const Entry& entry : CommandTable::entries()) {
        const auto condition = fmt::format("__fish_seen_subcommand_from {}", entry.name);
        text += fmt::format(
            "complete -c brindle-recorder -n {} -a {} -d {}\n", noCommand, entry.name,
            inSingleQuotes(entry.summary));
        for (const auto& each : entry.options) {
            text += option(condition, each.name, each.words);
        }
        const auto choices = choicesOf(entry);
        if (!choices.empty() || entry.argument == Argument::movie) {
            text += fmt::format(
                "complete -c brindle-recorder -n {} -a {}\n", inSingleQuotes(condition),
                inSingleQuotes(choices.empty() ? "(__fish_complete_suffix .mov)" : choices));
        }
    }
    return text;
}

} // namespace

std::string Completions::forShell(std::string_view shell) {
    if (shell == "bash") {
        return forBash();
    }
    if (shell == "fish") {
        return forFish();
    }
    return shell == "zsh" ? forZsh() : std::string{};
}

} // namespace brindle
