// Makes an MP4 file of a recording where it stands, without moving a sample.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/EditableBytes.hpp"
#include "BrindleRecorderLinux/Capture/Convert/CopyControl.hpp"

#include <optional>
#include <string>

namespace brindle::media {

/// What is known of the bytes of a movie's samples.
enum class SampleBytes {
    asWritten, ///< they are what was written: reading them would show the same memory once more
    unproven   ///< they may have been lost; each is looked at
};

/// Appends the index and then exchanges the movie's opening; see `MovieOpening`. Nothing when the
/// movie is whole and safe on the disk; or why it stays as it was, which is no error: it can be
/// copied. A movie that has been made whole before is only looked at.
///
/// Before the opening is exchanged, the movie is read as it is going to be, by the reader that
/// reads every movie: it must find exactly the samples that the fragments list, each at its place,
/// with its size, its time and its key-frame mark, and tracks of the same coding. Only a recording
/// of ours with every fragment sound passes.
///
/// Whenever this ends, be it with the power or by a signal in the middle, the file is a movie with
/// all its samples: with the one opening as with the other.
std::optional<std::string>
completeInPlace(EditableBytes& movie, SampleBytes bytes, CopyControl& control);

} // namespace brindle::media
