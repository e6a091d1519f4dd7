// One process that uses the microphone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// A value; may be used from any thread. The titles are text from outside: any bytes, any length.
struct MicUser {
    std::string bundleID; ///< empty when the process has none
    std::int32_t pid = 0;
    /// The titles of the process's windows; absent, not empty, when titles cannot be read.
    std::optional<std::vector<std::string>> windowTitles = std::nullopt;

    friend bool operator==(const MicUser&, const MicUser&) = default;
};

} // namespace brindle

template <>
struct std::hash<brindle::MicUser> {
    std::size_t operator()(const brindle::MicUser& user) const noexcept;
};
