// A media engine's module as a program of another version finds it.
#include "BrindleRecorderLinux/Media/MediaEngineEntry.hpp"

extern "C" brindle::media::MediaEngineEntry brindle_media_engine;

brindle::media::MediaEngine* brindle_media_engine(const char* /*version*/) {
    return nullptr;
}
