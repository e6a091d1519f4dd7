// Copies the readable samples of a movie into an MP4 file, untouched.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"
#include "BrindleRecorderLinux/Capture/Convert/CopyControl.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <functional>

namespace brindle::media {

/// The new file that a copy goes into. Asked for once a readable sample has been found.
using MakeDestination = std::function<Expected<capture::OutputFile, PlatformError>()>;

/// Copies in one pass and returns when the result is safe on the disk. The destination is left as
/// it is when the copy fails. A cancelled copy fails with ECANCELED.
///
/// Every sample, its times and its key-frame mark stay as they were, the tracks' offset against one
/// another included. The index stands at the front of the file wherever its length could be
/// reckoned beforehand.
Expected<void, PlatformError>
copyMovie(ByteSource& source, const MakeDestination& makeDestination, CopyControl& control);

} // namespace brindle::media
