#include "BrindleRecorderApp/Diagnostics.hpp"

#include <fmt/format.h>

namespace brindle {

std::optional<std::int64_t>
Diagnostics::fileSize(const FileManager& fileManager, const std::filesystem::path& path) {
    const auto size = fileManager.fileSize(path);
    return size ? std::optional{*size} : std::nullopt;
}

std::string
Diagnostics::fileState(const FileManager& fileManager, const std::filesystem::path& path) {
    const auto size = fileSize(fileManager, path);
    return size ? fmt::format("exists, {} bytes", *size) : "missing";
}

std::string Diagnostics::describe(const PlatformError& error) {
    std::string text = fmt::format("{} {}", error.domain, error.code);
    if (error.underlying) {
        text +=
            fmt::format(" / underlying {} {}", error.underlying->domain, error.underlying->code);
    }
    return text + ": " + error.description;
}

std::string Diagnostics::describeUserInfo(const PlatformError& error) {
    auto facts = error.userInfo;
    if (error.recordingSuccessfullyFinished) {
        facts.emplace("recordingSuccessfullyFinished", "true");
    }
    std::string text;
    for (const auto& [name, value] : facts) {
        text += fmt::format("{}{}={}", text.empty() ? "" : ", ", name, value);
    }
    return "{" + text + "}";
}

PlatformError::Underlying Diagnostics::underlyingOrNone(const PlatformError& error) {
    return error.underlying.value_or(PlatformError::Underlying{.domain = "none", .code = 0});
}

} // namespace brindle
