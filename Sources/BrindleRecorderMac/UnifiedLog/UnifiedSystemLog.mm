#include "BrindleRecorderMac/UnifiedLog/UnifiedSystemLog.hpp"

#include <string>

namespace brindle {

UnifiedSystemLog::UnifiedSystemLog(const char* subsystem)
    : log_{os_log_create(subsystem, "recorder")} {}

void UnifiedSystemLog::write(Level level, std::string_view line) {
    const std::string text{line};
    const os_log_type_t type = level == Level::error ? OS_LOG_TYPE_ERROR : OS_LOG_TYPE_DEFAULT;
    os_log_with_type(log_, type, "%{public}s", text.c_str());
}

} // namespace brindle
