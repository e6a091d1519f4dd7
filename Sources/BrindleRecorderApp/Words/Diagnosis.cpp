#include "BrindleRecorderApp/Words/Diagnosis.hpp"

#include <algorithm>
#include <array>

namespace brindle {

namespace {

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto end = text.find('\n');
        if (end != 0) {
            lines.push_back(text.substr(0, end));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

std::string withoutHome(std::string_view text, const std::string& home) {
    constexpr std::string_view endsOfNames = "/ \t\"':;,)";
    std::string result;
    while (!text.empty()) {
        const auto place = home.size() > 1 ? text.find(home) : std::string_view::npos;
        result.append(text, 0, place);
        if (place == std::string_view::npos) {
            break;
        }
        text.remove_prefix(place + home.size());
        // Another folder's name may begin like this one.
        const bool isWhole =
            text.empty() || endsOfNames.find(text.front()) != std::string_view::npos;
        result += isWhole ? std::string{"~"} : home;
    }
    return result;
}

bool tellsOfAFailure(std::string_view line) {
    constexpr std::array<std::string_view, 9> beginnings{
        "capture failure",  "recorder failed",         "recording not begun", "remux failed",
        "remux incomplete", "nothing could be opened", "sidecar not written", "tray:",
        "window:"};
    // The time stands before it.
    const auto blank = line.find(' ');
    const auto message = blank == std::string_view::npos ? line : line.substr(blank + 1);
    const bool isKnown = std::ranges::any_of(
        beginnings, [&](std::string_view beginning) { return message.starts_with(beginning); });
    return isKnown || message.find(" is missing: ") != std::string_view::npos ||
           (message.starts_with("recording finished: ") &&
            message.find(" error=none") == std::string_view::npos);
}

/// A call is named by its room alone.
std::string withoutRoom(std::string_view line) {
    constexpr std::string_view inRoom = " in room ";
    constexpr std::string_view room = " room=";
    if (const auto place = line.find(inRoom); place != std::string_view::npos) {
        const auto end = line.find(": ", place);
        return std::string{line.substr(0, place)}.append(
            end == std::string_view::npos ? std::string_view{} : line.substr(end));
    }
    return std::string{line.substr(0, line.find(room))};
}

} // namespace

std::vector<std::string>
Diagnosis::lines(const std::vector<Fact>& facts, const std::filesystem::path& home) {
    std::vector<std::string> result;
    for (const Fact& fact : facts) {
        const auto values = linesOf(fact.value);
        if (values.size() == 1) {
            result.push_back(fact.name + ": " + withoutHome(values.front(), home.native()));
            continue;
        }
        result.push_back(values.empty() ? fact.name + ": none" : fact.name + ":");
        for (const auto value : values) {
            result.push_back("  " + withoutHome(value, home.native()));
        }
    }
    return result;
}

std::vector<std::string> Diagnosis::failures(std::string_view log, std::size_t most) {
    std::vector<std::string> result;
    for (const auto line : linesOf(log)) {
        if (tellsOfAFailure(line)) {
            result.push_back(withoutRoom(line));
        }
    }
    if (result.size() > most) {
        result.erase(result.begin(), result.end() - static_cast<std::ptrdiff_t>(most));
    }
    return result;
}

} // namespace brindle
