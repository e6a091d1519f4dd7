// What texts call the things of a Linux desktop.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"

namespace brindle {

DesktopWords linuxWords();

} // namespace brindle
