// Converts a movie as the recorder does, the sync to the disk included.
// Usage: convert-movie MOV MP4
#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"
#include "BrindleRecorderLinux/Capture/Convert/PassthroughCopy.hpp"

#include <cstdio>
#include <exception>
#include <utility>

#include <fcntl.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::fputs("Usage: convert-movie MOV MP4\n", stderr);
        return 2;
    }
    try {
        brindle::media::CopyControl control;
        auto file = brindle::FileDescriptor::open(arguments[1], O_RDONLY);
        if (!file) {
            std::fprintf(stderr, "convert-movie: %s\n", file.error().message().c_str());
            return 1;
        }
        const auto source = brindle::media::FileBytes::of(std::move(*file), control.cancelled);
        if (!source) {
            std::fputs("convert-movie: the source is no file\n", stderr);
            return 1;
        }
        const auto copied = brindle::media::copyMovie(
            **source, [&] { return brindle::capture::OutputFile::create(arguments[2]); }, control);
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
