#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

/// Reads fixed-width fields from the front of a text; every read fails once one has failed.
class FieldReader {
  public:
    explicit FieldReader(std::string_view text) : rest_{text} {}

    int digits(std::size_t count) {
        if (failed_ || rest_.size() < count) {
            failed_ = true;
            return 0;
        }
        int value = 0;
        for (const char digit : rest_.substr(0, count)) {
            if (digit < '0' || digit > '9') {
                failed_ = true;
                return 0;
            }
            value = value * 10 + (digit - '0');
        }
        rest_.remove_prefix(count);
        return value;
    }

    char oneOf(std::string_view allowed) {
        if (failed_ || rest_.empty() || allowed.find(rest_.front()) == std::string_view::npos) {
            failed_ = true;
            return '\0';
        }
        const char found = rest_.front();
        rest_.remove_prefix(1);
        return found;
    }

    [[nodiscard]] bool finishedCleanly() const { return !failed_ && rest_.empty(); }

  private:
    std::string_view rest_;
    bool failed_ = false;
};

} // namespace

std::string InternetDateTime::format(Date date, const TimeZone& timeZone, Fraction fraction) {
    // The clock time goes with the offset as it is written, so that zones of old that were off by
    // seconds still name the same moment.
    const auto offset = std::chrono::duration_cast<std::chrono::minutes>(timeZone.offsetAt(date));
    const LocalTime local = TimeZone::utc().localTimeAt(date + offset);
    std::string text = fmt::format(
        "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", local.year, local.month, local.day, local.hour,
        local.minute, local.second);
    if (fraction == Fraction::milliseconds) {
        text += fmt::format(
            ".{:03}",
            std::chrono::duration_cast<std::chrono::milliseconds>(local.fraction).count());
    }
    if (timeZone.isUtc()) {
        return text + 'Z';
    }
    const auto magnitude = std::chrono::abs(offset).count();
    return text + fmt::format(
                      "{}{:02}:{:02}", offset < std::chrono::minutes{0} ? '-' : '+', magnitude / 60,
                      magnitude % 60);
}

std::optional<Date> InternetDateTime::parse(std::string_view text) {
    using namespace std::chrono;
    FieldReader reader{text};
    const int year = reader.digits(4);
    reader.oneOf("-");
    const int month = reader.digits(2);
    reader.oneOf("-");
    const int day = reader.digits(2);
    reader.oneOf("T");
    const int hour = reader.digits(2);
    reader.oneOf(":");
    const int minute = reader.digits(2);
    reader.oneOf(":");
    const int second = reader.digits(2);
    const char designator = reader.oneOf("Z+-");
    minutes offset{0};
    if (designator == '+' || designator == '-') {
        const int offsetHours = reader.digits(2);
        reader.oneOf(":");
        const int offsetMinutes = reader.digits(2);
        if (offsetHours > 23 || offsetMinutes > 59) {
            return std::nullopt;
        }
        offset = minutes{offsetHours * 60 + offsetMinutes};
        if (designator == '-') {
            offset = -offset;
        }
    }
    const year_month_day calendar{
        std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
        std::chrono::day{static_cast<unsigned>(day)}};
    if (!reader.finishedCleanly() || !calendar.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    const sys_seconds moment =
        sys_days{calendar} + hours{hour} + minutes{minute} + seconds{second} - offset;
    // A day to spare at either end, so that every zone's clock can show what was read.
    if (moment < ceil<days>(Date::min()) + days{1} || moment > floor<days>(Date::max()) - days{1}) {
        return std::nullopt;
    }
    return moment;
}

} // namespace brindle
