#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <ctime>
#include <mutex>
#include <string_view>

namespace brindle {

namespace {

bool isNameOfUtc(std::string_view name) {
    return name == "UTC" || name == "Etc/UTC" || name == "Etc/UCT" || name == "Etc/Zulu" ||
           name == "UCT" || name == "Zulu" || name == "Universal" || name == "Etc/Universal";
}

/// Lets the C library look again at what the user and the machine have set. True when that is UTC.
bool isLocalTimeUtc() {
    static std::mutex mutex;
    const std::lock_guard lock{mutex};
    ::tzset();
    return ::timezone == 0 && ::daylight == 0 && isNameOfUtc(::tzname[0]);
}

std::chrono::seconds localOffsetAt(Date date) {
    const std::time_t time =
        std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count();
    std::tm local{};
    // It fails only for years that its calendar has no room for.
    return std::chrono::seconds{::localtime_r(&time, &local) != nullptr ? local.tm_gmtoff : 0};
}

} // namespace

TimeZone TimeZone::current() {
    return isLocalTimeUtc() ? utc() : TimeZone{localOffsetAt};
}

std::chrono::seconds TimeZone::offsetAt(Date date) const {
    return rules_ ? rules_(date) : std::chrono::seconds{0};
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
