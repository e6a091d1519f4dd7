// How recorder and capture program find one another.
#pragma once

#include <string>

namespace brindle::capture {

/// The version that both were built as, if they belong together.
const std::string& programVersion();

/// The descriptor of the capture program's end of the socket pair. It has no other but the standard
/// three.
inline constexpr int recordersSocket = 3;

/// The argument of a run that may use graphics hardware.
inline constexpr const char* withGraphics = "--with-graphics";

} // namespace brindle::capture
