// The system's log through the C library: the journal where there is one, else the system logger,
// else standard error.
#pragma once

#include "BrindleRecorderApp/Platform/SystemLog.hpp"

namespace brindle {

class SyslogSystemLog final : public SystemLog {
  public:
    /// One at a time per process.
    SyslogSystemLog();
    ~SyslogSystemLog() override;
    SyslogSystemLog(const SyslogSystemLog&) = delete;
    SyslogSystemLog& operator=(const SyslogSystemLog&) = delete;

    void write(Level level, std::string_view line) override;
};

} // namespace brindle
