// A media engine's module as a program of another version finds it.
#include "BrindleRecorderLinux/Media/MediaEngineEntry.hpp"

extern "C" brindle::media::MediaEngineEntry brindleMediaEngine;

brindle::media::MediaEngine* brindleMediaEngine(const char* /*version*/) {
    return nullptr;
}
