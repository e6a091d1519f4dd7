// What texts call the things of a Linux desktop, in the user's language.
#pragma once

#include "BrindleRecorderApp/Platform/DesktopWords.hpp"

namespace brindle {

DesktopWords linuxWords();

} // namespace brindle
