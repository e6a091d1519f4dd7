#include "Support/NamedTimeZone.hpp"

#include <chrono>
#include <date/tz.h>

namespace brindle::test {

TimeZone timeZoneNamed(const std::string& name) {
    if (name == "UTC") {
        return TimeZone::utc();
    }
    return TimeZone{[zone = date::locate_zone(name)](Date date) {
        return zone->get_info(std::chrono::floor<std::chrono::seconds>(date)).offset;
    }};
}

} // namespace brindle::test
