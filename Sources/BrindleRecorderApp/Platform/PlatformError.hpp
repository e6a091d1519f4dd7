// An error of the desktop or of a media library, carried across the seam as a value.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace brindle {

struct PlatformError {
    std::string domain;      ///< whose error it is, for example "FFmpeg" or "POSIX"
    std::int64_t code = 0;   ///< the number that the domain gives it
    std::string description; ///< one sentence fragment for a person, without a full stop

    /// The error behind this one, if the library named one.
    struct Underlying {
        std::string domain;
        std::int64_t code = 0;
        friend bool operator==(const Underlying&, const Underlying&) = default;
    };
    std::optional<Underlying> underlying;

    /// True when the file is complete although an error is reported.
    bool recordingSuccessfullyFinished = false;

    /// Whatever else the library says about it, by name; for the logs.
    std::map<std::string, std::string> userInfo = {};

    friend bool operator==(const PlatformError&, const PlatformError&) = default;
};

} // namespace brindle
