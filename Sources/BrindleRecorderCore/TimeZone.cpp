#include "BrindleRecorderCore/TimeZone.hpp"

#include <cstdlib>
#include <date/tz.h>
#include <exception>
#include <string>

namespace brindle {

namespace {

bool isNameOfUtc(std::string_view name) {
    return name == "UTC" || name == "Etc/UTC" || name == "Etc/UCT" || name == "Etc/Zulu" ||
           name == "UCT" || name == "Zulu" || name == "Universal" || name == "Etc/Universal";
}

} // namespace

TimeZone TimeZone::utc() {
    return TimeZone{nullptr};
}

std::optional<TimeZone> TimeZone::named(std::string_view name) {
    if (isNameOfUtc(name)) {
        return utc();
    }
    try {
        return TimeZone{date::locate_zone(std::string{name})};
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

TimeZone TimeZone::current() {
    if (const char* variable = std::getenv("TZ"); variable != nullptr && *variable != '\0') {
        std::string_view name{variable};
        if (name.front() == ':') {
            name.remove_prefix(1);
        }
        if (auto zone = named(name)) {
            return *zone;
        }
    }
    try {
        const auto* zone = date::current_zone();
        return isNameOfUtc(zone->name()) ? utc() : TimeZone{zone};
    } catch (const std::exception&) {
        return utc();
    }
}

std::chrono::seconds TimeZone::offsetAt(Date date) const {
    if (zone_ == nullptr) {
        return std::chrono::seconds{0};
    }
    return zone_->get_info(std::chrono::floor<std::chrono::seconds>(date)).offset;
}

LocalTime TimeZone::localTimeAt(Date date) const {
    using namespace std::chrono;
    const Date local = date + offsetAt(date);
    const auto midnight = floor<days>(local);
    const year_month_day calendar{midnight};
    const hh_mm_ss clock{floor<seconds>(local) - midnight};
    return LocalTime{
        .year = static_cast<int>(calendar.year()),
        .month = static_cast<int>(static_cast<unsigned>(calendar.month())),
        .day = static_cast<int>(static_cast<unsigned>(calendar.day())),
        .hour = static_cast<int>(clock.hours().count()),
        .minute = static_cast<int>(clock.minutes().count()),
        .second = static_cast<int>(clock.seconds().count()),
        .weekday = static_cast<int>(weekday{midnight}.c_encoding()),
        .fraction = local - floor<seconds>(local),
    };
}

} // namespace brindle
