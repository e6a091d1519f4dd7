// The one name by which the program finds the engine in the module that it loads.
#pragma once

namespace brindle::media {

class MediaEngine;

/// The type of the module's function. `version` is the program's; the answer is nothing when the
/// module was built for another, whose objects may be laid out differently. The engine is never
/// destroyed.
using MediaEngineEntry = MediaEngine*(const char* version);

inline constexpr const char* mediaEngineEntryName = "brindleMediaEngine";

} // namespace brindle::media
