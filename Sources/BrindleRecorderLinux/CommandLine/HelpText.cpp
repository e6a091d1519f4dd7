#include "BrindleRecorderLinux/CommandLine/HelpText.hpp"

#include "BrindleRecorderLinux/CommandLine/CommandTable.hpp"

#include <cstddef>
#include <fmt/format.h>
#include <string_view>

namespace brindle {

namespace {

using Entry = CommandTable::Entry;

constexpr std::size_t width = 80;
constexpr std::size_t indentOfWords = 17;

/// The words in lines that begin with blanks, but for the first, which goes on where something
/// stands already.
std::string wrapped(std::string_view words, std::size_t indent, std::size_t taken) {
    std::string text(taken < indent ? indent - taken : 0, ' ');
    std::size_t column = taken < indent ? indent : taken;
    bool isFirstOfLine = true;
    while (!words.empty()) {
        const auto end = words.find(' ');
        const auto word = words.substr(0, end);
        words.remove_prefix(end == std::string_view::npos ? words.size() : end + 1);
        if (!isFirstOfLine && column + 1 + word.size() > width) {
            text += '\n' + std::string(indent, ' ');
            column = indent;
            isFirstOfLine = true;
        }
        if (!isFirstOfLine) {
            text += ' ';
            ++column;
        }
        text += word;
        column += word.size();
        isFirstOfLine = false;
    }
    return text + '\n';
}

/// "  name           words"
std::string described(std::string_view name, std::string_view words) {
    const std::string beginning = fmt::format("  {}", name);
    if (beginning.size() + 2 > indentOfWords) {
        return beginning + '\n' + wrapped(words, indentOfWords, 0);
    }
    return beginning + wrapped(words, indentOfWords, beginning.size());
}

std::string called(const Entry& entry) {
    const auto placeholder = CommandTable::placeholder(entry.argument);
    return placeholder.empty() ? std::string{entry.name}
                               : fmt::format("{} {}", entry.name, placeholder);
}

std::string commands(bool forRunningCopy) {
    std::string text;
    for (const Entry& entry : CommandTable::entries()) {
        if (entry.isForRunningCopy == forRunningCopy) {
            text += described(called(entry), entry.summary);
        }
    }
    return text;
}

} // namespace

std::string HelpText::ofTheProgram() {
    return R"(Usage: brindle-recorder [--headless]
       brindle-recorder COMMAND [OPTION]... [ARGUMENT]...
Records your own camera and microphone while you are in a call. Without a command
it shows its icon in the desktop's panel.

Commands for the copy that runs in this session:
)" + commands(true) +
           "\nOther commands:\n" + commands(false) + "\nOptions:\n" +
           described(
               CommandTable::headless,
               "run without a user interface: print each change of the status on standard output, "
               "notifications on standard error") +
           described("-h, --help", "show this text, or behind a command more about it, and exit") +
           described("-V, --version", "show the version and exit") + R"(
Recordings go to ~/Movies/Brindle. SIGINT and SIGTERM stop and keep a running
recording before the program leaves; a second one leaves at once, and the next
launch finishes what was left.

Exit status: 0 when it ended as asked, 1 when it could not, 2 when the command
line is wrong, 3 when no copy of the program runs that could be asked.
)";
}

std::string HelpText::of(Options::Command command) {
    const Entry& entry = CommandTable::of(command);
    std::string usage = fmt::format("Usage: brindle-recorder {}", entry.name);
    for (const auto& option : entry.options) {
        usage += fmt::format(" [{}]", option.name);
    }
    if (const auto placeholder = CommandTable::placeholder(entry.argument); !placeholder.empty()) {
        usage += fmt::format(" {}", placeholder);
    }
    std::string words{entry.summary};
    words.front() = static_cast<char>(words.front() - 'a' + 'A');
    words += '.';
    if (!entry.words.empty()) {
        words += fmt::format(" {}", entry.words);
    }
    if (entry.isForRunningCopy) {
        words += " Asks the copy of the program that runs in this session; where none does, the "
                 "exit status is 3.";
    }
    std::string text = usage + '\n' + wrapped(words, 0, 0);
    if (!entry.alias.empty()) {
        text += fmt::format("The option {} does the same.\n", entry.alias);
    }
    if (!entry.options.empty()) {
        text += "\nOptions:\n";
        for (const auto& option : entry.options) {
            text += described(option.name, option.words);
        }
    }
    text += entry.examples.size() == 1 ? "\nExample:\n" : "\nExamples:\n";
    for (const auto& example : entry.examples) {
        text += fmt::format("  {}\n", example.line) + wrapped(example.words, 6, 0);
    }
    return text;
}

} // namespace brindle
