#include "BrindleRecorderLinux/SystemLog/SyslogSystemLog.hpp"

#include <algorithm>
#include <syslog.h>
#include <unistd.h>

namespace brindle {

namespace {

/// Longer lines are cut by some loggers and refused by others.
constexpr std::size_t longestLine = 4096;

} // namespace

SyslogSystemLog::SyslogSystemLog() {
    const bool hasLogger = ::access("/dev/log", W_OK) == 0;
    ::openlog("brindle-recorder", hasLogger ? LOG_PID : LOG_PID | LOG_PERROR, LOG_USER);
}

SyslogSystemLog::~SyslogSystemLog() {
    ::closelog();
}

void SyslogSystemLog::write(Level level, std::string_view line) {
    const auto length = static_cast<int>(std::min(line.size(), longestLine));
    ::syslog(level == Level::error ? LOG_ERR : LOG_INFO, "%.*s", length, line.data());
}

} // namespace brindle
