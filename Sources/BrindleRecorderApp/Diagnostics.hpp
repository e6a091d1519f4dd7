// The wording of file states and errors in the diagnostic log.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brindle {

struct Diagnostics {
    /// The file's size in bytes; absent when it cannot be read.
    static std::optional<std::int64_t>
    fileSize(const FileManager& fileManager, const std::filesystem::path& path);

    /// "exists, <size> bytes" or "missing".
    static std::string fileState(const FileManager& fileManager, const std::filesystem::path& path);

    /// "<domain> <code>: <description>", with " / underlying <domain> <code>" before the colon when
    /// the error names the one behind it.
    static std::string describe(const PlatformError& error);

    /// The error's further facts by name: "{a=1, b=2}".
    static std::string describeUserInfo(const PlatformError& error);

    /// The error behind that one, or the domain "none" with the code 0.
    static PlatformError::Underlying underlyingOrNone(const PlatformError& error);
};

} // namespace brindle
