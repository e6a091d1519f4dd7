#include "BrindleRecorderApp/EventLog.hpp"

#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"

#include <string>

namespace brindle {

void EventLog::diagnostic(std::string_view line) const {
    diagnosticLog_->log(std::string{line}, dateProvider_->now());
}

void EventLog::system(Level level, std::string_view line) const {
    systemLog_->write(level, line);
}

void EventLog::both(Level level, std::string_view line) const {
    diagnostic(line);
    system(level, line);
}

} // namespace brindle
