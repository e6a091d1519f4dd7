// The unified log of macOS.
#pragma once

#include "BrindleRecorderApp/Platform/SystemLog.hpp"

#include <os/log.h>

namespace brindle {

class UnifiedSystemLog final : public SystemLog {
  public:
    /// Lines stand under that subsystem, as `log show --predicate` asks for it.
    explicit UnifiedSystemLog(const char* subsystem);
    UnifiedSystemLog(const UnifiedSystemLog&) = delete;
    UnifiedSystemLog& operator=(const UnifiedSystemLog&) = delete;

    void write(Level level, std::string_view line) override;

  private:
    os_log_t log_; // the system keeps it for as long as the process lives
};

} // namespace brindle
