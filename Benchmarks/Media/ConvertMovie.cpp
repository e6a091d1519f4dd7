// Converts a movie as the recorder does, the sync to the disk included.
// Usage: convert-movie MOV MP4
#include "BrindleRecorderLinux/FFmpeg/PassthroughCopy.hpp"

#include <cstdio>
#include <exception>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::fputs("Usage: convert-movie MOV MP4\n", stderr);
        return 2;
    }
    try {
        brindle::media::CopyControl control;
        const auto copied = brindle::media::copyMovie(
            std::filesystem::path{arguments[1]}, std::filesystem::path{arguments[2]}, control);
        if (!copied) {
            std::fprintf(stderr, "convert-movie: %s\n", copied.error().description.c_str());
            return 1;
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "convert-movie: %s\n", error.what());
        return 1;
    }
}
