// The tracks of an MP4 file that holds the samples of another movie as they are.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"
#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace brindle::media {

/// Gives the file in the making a track for each of the streams, and has it take samples without
/// changing anything of them. Answers the units, in a second, in which offsets between these tracks
/// can be told.
Expected<std::int64_t, PlatformError>
addTracks(AVFormatContext& format, std::span<const AVStream* const> streams);

/// The content of the `moov` box of an MP4 file with such tracks, with those tags and no sample
/// yet.
Expected<std::vector<std::uint8_t>, PlatformError>
describeMovie(std::span<const AVStream* const> streams, const MovieTags& tags);

} // namespace brindle::media
