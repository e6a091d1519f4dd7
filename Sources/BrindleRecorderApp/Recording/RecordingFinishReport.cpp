#include "BrindleRecorderApp/Recording/RecordingFinishReport.hpp"

#include "BrindleRecorderApp/Diagnostics.hpp"

#include <fmt/format.h>

#include <string>

namespace brindle {

void RecordingFinishReport::write(
    const EventLog& log, const FileManager& fileManager, const std::filesystem::path& path,
    const std::optional<PlatformError>& error) {
    const std::string name = path.filename().string();
    const std::string state = Diagnostics::fileState(fileManager, path);
    if (!error) {
        log.diagnostic(fmt::format("recording finished: {} {} error=none", name, state));
        log.system(
            EventLog::Level::info, fmt::format("recording finished: {} {}, no error", name, state));
        return;
    }
    const std::string userInfo = Diagnostics::describeUserInfo(*error);
    log.diagnostic(fmt::format(
        "recording finished: {} {} error={} userInfo={}", name, state,
        Diagnostics::describe(*error), userInfo));
    const auto underlying = Diagnostics::underlyingOrNone(*error);
    constexpr auto level = EventLog::Level::error;
    log.system(level, fmt::format("recording finished with error: {} {}", name, state));
    log.system(
        level,
        fmt::format(
            "recording finish error: domain={} code={} underlying={} {} successfullyFinished={} "
            "description={}",
            error->domain, error->code, underlying.domain, underlying.code,
            error->recordingSuccessfullyFinished, error->description));
    log.system(level, fmt::format("recording finish userInfo: {}", userInfo));
}

} // namespace brindle
