#include "BrindleRecorderCore/Calls/CallNaming.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <array>
#include <fmt/format.h>
#include <string_view>

namespace brindle {

namespace {

constexpr std::string_view unnamed = "Call";
constexpr std::array<std::string_view, 7> weekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

} // namespace

const std::map<std::string, std::string>& CallNaming::shortNames() {
    static const std::map<std::string, std::string> names{{"zoom", "Zoom"}, {"teams", "Teams"}};
    return names;
}

std::string CallNaming::appName(const std::optional<CallSource>& source) {
    if (!source || source->kind == CallSource::Kind::manual) {
        return std::string{unnamed};
    }
    // By bundle identifier: a source that was read back from a file has lost its family.
    const CallAppFamily* family = CallCatalog::family(source->bundleID);
    if (family == nullptr) {
        return source->app.empty() ? std::string{unnamed} : source->app;
    }
    const auto shortName = shortNames().find(family->id);
    return shortName != shortNames().end() ? shortName->second : family->name;
}

std::string CallNaming::name(
    const std::optional<CallSource>& source, Date startedAt, const TimeZone& timeZone) {
    const LocalTime local = timeZone.localTimeAt(startedAt);
    return fmt::format(
        "{} · {} {:02}:{:02}", appName(source),
        weekdays.at(static_cast<std::size_t>(local.weekday)), local.hour, local.minute);
}

} // namespace brindle
