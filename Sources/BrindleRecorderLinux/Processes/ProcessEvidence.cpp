#include "BrindleRecorderLinux/Processes/ProcessEvidence.hpp"

#include <algorithm>
#include <cctype>

namespace brindle {

namespace {

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

bool removeSuffix(std::string_view& text, std::string_view suffix) {
    if (!text.ends_with(suffix)) {
        return false;
    }
    text.remove_suffix(suffix.size());
    return true;
}

bool removePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

int hexadecimalValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const int letter = std::tolower(static_cast<unsigned char>(digit));
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// Unit names write "-" within an id as "\x2d".
std::string unescapedUnitName(std::string_view name) {
    std::string plain;
    while (!name.empty()) {
        if (name.size() >= 4 && name.starts_with("\\x")) {
            const int high = hexadecimalValue(name[2]);
            const int low = hexadecimalValue(name[3]);
            if (high >= 0 && low >= 0) {
                plain += static_cast<char>(high * 16 + low);
                name.remove_prefix(4);
                continue;
            }
        }
        plain += name.front();
        name.remove_prefix(1);
    }
    return plain;
}

std::optional<std::string> desktopIDInUnit(std::string_view unit) {
    const bool isScope = removeSuffix(unit, ".scope");
    if (!isScope && !removeSuffix(unit, ".service")) {
        return std::nullopt;
    }
    if (!removePrefix(unit, "app-")) {
        return std::nullopt;
    }
    if (!isScope) {
        unit = unit.substr(0, unit.find('@'));
    }
    auto parts = split(unit, '-');
    // A scope ends in something random; a service may end in its id. What comes before an id is
    // the launcher.
    if (isScope && parts.size() > 1) {
        parts.pop_back();
    }
    if (parts.size() > 2 || parts.back().empty()) {
        return std::nullopt;
    }
    return unescapedUnitName(parts.back());
}

} // namespace

std::string_view withoutDeletedMark(std::string_view path) {
    removeSuffix(path, " (deleted)");
    return path;
}

std::optional<std::string> snapNameInPath(const std::filesystem::path& executable) {
    std::string_view path = executable.native();
    if (!removePrefix(path, "/snap/") && !removePrefix(path, "/var/lib/snapd/snap/")) {
        return std::nullopt;
    }
    const std::string_view name = path.substr(0, path.find('/'));
    return name.empty() || name == "bin" ? std::nullopt : std::optional{std::string{name}};
}

ApplicationScope scopeInControlGroup(std::string_view controlGroupPath) {
    ApplicationScope scope;
    for (std::string_view unit : split(controlGroupPath, '/')) {
        if (unit.starts_with("snap.") && (unit.ends_with(".scope") || unit.ends_with(".service"))) {
            scope = {std::nullopt, std::string{split(unit, '.')[1]}};
        } else if (auto desktopID = desktopIDInUnit(unit)) {
            scope = {std::move(desktopID), std::nullopt};
        }
    }
    return scope;
}

std::optional<std::string> applicationIDInFlatpakInfo(std::string_view text) {
    bool inApplication = false;
    for (std::string_view line : split(text, '\n')) {
        if (line.starts_with('[')) {
            inApplication = line == "[Application]";
        } else if (inApplication && removePrefix(line, "name=") && !line.empty()) {
            return std::string{line};
        }
    }
    return std::nullopt;
}

} // namespace brindle
