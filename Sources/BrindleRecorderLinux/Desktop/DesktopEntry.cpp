#include "BrindleRecorderLinux/Desktop/DesktopEntry.hpp"

#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <system_error>

namespace brindle {

namespace {

constexpr std::string_view group = "[Desktop Entry]";
constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// Takes the first line off the text.
std::string_view takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    const auto line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    return line;
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] != '\\' || place + 1 == text.size()) {
            result += text[place];
            continue;
        }
        switch (const char letter = text[++place]) {
        case 's':
            result += ' ';
            break;
        case 'n':
            result += '\n';
            break;
        case 't':
            result += '\t';
            break;
        case 'r':
            result += '\r';
            break;
        default:
            result += letter;
        }
    }
    return result;
}

/// The first word of a command, without quotes.
std::string firstWord(std::string_view command) {
    std::string word;
    bool isQuoted = false;
    for (std::size_t place = 0; place < command.size(); ++place) {
        const char character = command[place];
        const bool isFollowed = place + 1 < command.size();
        const bool standsForTheNext =
            isFollowed && (character == '\\' || (character == '%' && command[place + 1] == '%'));
        if (character == '"') {
            isQuoted = !isQuoted;
            continue;
        }
        if (!isQuoted && blanks.find(character) != std::string_view::npos) {
            break;
        }
        if (standsForTheNext) {
            ++place;
        }
        word += command[place];
    }
    return word;
}

bool canBeExecuted(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) && ::access(file.c_str(), X_OK) == 0;
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::read(std::string_view contents) {
    bool isFound = false;
    DesktopEntry entry;
    while (!contents.empty()) {
        const auto line = trimmed(takeLine(contents));
        if (line.starts_with('[')) {
            if (isFound) {
                break;
            }
            isFound = line == group;
            continue;
        }
        const auto equals = line.find('=');
        if (isFound && !line.starts_with('#') && equals != std::string_view::npos) {
            entry.values_.insert_or_assign(
                std::string{trimmed(line.substr(0, equals))},
                std::string{trimmed(line.substr(equals + 1))});
        }
    }
    return isFound ? std::optional{std::move(entry)} : std::nullopt;
}

std::optional<std::string> DesktopEntry::value(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? std::optional{unescaped(found->second)} : std::nullopt;
}

std::optional<bool> DesktopEntry::flag(std::string_view key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) {
        return std::nullopt;
    }
    return found->second == "true" || found->second == "1"; // the second is how it used to be
}

std::optional<std::filesystem::path> DesktopEntry::program() const {
    const auto command = value("Exec");
    const auto tried = value("TryExec");
    if (!command || (tried && !findProgram(*tried))) {
        return std::nullopt;
    }
    return findProgram(firstWord(trimmed(*command)));
}

std::string DesktopEntry::escaped(std::string_view value) {
    std::string result;
    for (const char character : value) {
        switch (character) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\r':
            result += "\\r";
            break;
        default:
            result += character;
        }
    }
    return result;
}

std::string DesktopEntry::quotedForCommand(std::string_view word) {
    std::string quoted = "\"";
    for (const char character : word) {
        if (std::string_view{"\"`$\\"}.find(character) != std::string_view::npos) {
            quoted += '\\';
        } else if (character == '%') {
            quoted += '%';
        }
        quoted += character;
    }
    return quoted + "\"";
}

std::optional<std::filesystem::path> findProgram(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    if (name.find('/') != std::string::npos) {
        return canBeExecuted(name) ? std::optional<std::filesystem::path>{name} : std::nullopt;
    }
    const char* const path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
    while (!folders.empty()) {
        const auto end = folders.find(':');
        const auto file = std::filesystem::path{folders.substr(0, end)} / name;
        if (canBeExecuted(file)) {
            return file;
        }
        folders = end == std::string_view::npos ? std::string_view{} : folders.substr(end + 1);
    }
    return std::nullopt;
}

} // namespace brindle
