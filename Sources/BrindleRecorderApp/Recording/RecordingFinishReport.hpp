// The log lines about how a recording's file was closed.
#pragma once

#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <filesystem>
#include <optional>

namespace brindle {

struct RecordingFinishReport {
    /// Any thread.
    static void write(
        const EventLog& log, const FileManager& fileManager, const std::filesystem::path& path,
        const std::optional<PlatformError>& error);
};

} // namespace brindle
