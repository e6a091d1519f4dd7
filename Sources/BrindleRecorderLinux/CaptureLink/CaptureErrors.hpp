// What goes wrong with movie files and with the program that makes them, as values of the seam.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"

#include <string>

namespace brindle::capture {

/// For an `errno`.
PlatformError systemError(int errorNumber);

/// For what we find out ourselves.
PlatformError recordingError(std::string description);

} // namespace brindle::capture
