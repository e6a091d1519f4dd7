// What a movie says of itself to media libraries and photo programs.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <string>

namespace brindle::media {

/// Nothing of the call, and nothing of the devices.
struct MovieTags {
    std::string creationTime; ///< when it begins (RFC 3339); empty when unknown
    std::string program;      ///< which made it, with its version; empty when unknown

    /// Of a movie that we begin now.
    static MovieTags ofNewMovie();
    /// Of a movie that has been opened. What is no plain short text counts as unknown.
    static MovieTags of(const AVFormatContext& movie);
};

/// Writes the header of a movie that says this. The library's answer.
int writeHeader(AVFormatContext& movie, const MovieTags& tags, Options& options);

} // namespace brindle::media
