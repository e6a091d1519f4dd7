// One line per notable step: into the diagnostic log that the user can send, and into the system's.
#pragma once

#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"

#include <string_view>

namespace brindle {

class DiagnosticLog;

/// A value that refers to the two logs and the clock, which must outlive it. Any thread.
class EventLog {
  public:
    using Level = SystemLog::Level;

    EventLog(DiagnosticLog& diagnosticLog, SystemLog& systemLog, const DateProvider& dateProvider)
        : diagnosticLog_{&diagnosticLog}, systemLog_{&systemLog}, dateProvider_{&dateProvider} {}

    /// To the diagnostic log alone, for a step that the system's log words differently.
    void diagnostic(std::string_view line) const;
    /// To the system's log alone.
    void system(Level level, std::string_view line) const;
    /// The same line to both.
    void both(Level level, std::string_view line) const;

  private:
    DiagnosticLog* diagnosticLog_;
    SystemLog* systemLog_;
    const DateProvider* dateProvider_;
};

} // namespace brindle
