#include "BrindleRecorderLinux/Capture/ConversionWork.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/EditableFile.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/FileBytes.hpp"
#include "BrindleRecorderLinux/Capture/Convert/InPlaceCompletion.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieDuration.hpp"
#include "BrindleRecorderLinux/Capture/Convert/PassthroughCopy.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <cerrno>
#include <new>
#include <utility>

namespace brindle::capture {

void ConversionWork::begin() {
    control_.progress = 0;
    control_.damagedBytes = 0;
}

Completed ConversionWork::complete(FileDescriptor movie, bool isAsWritten) {
    begin();
    try {
        const auto bytes = media::EditableFile::of(std::move(movie), control_.cancelled);
        if (!bytes) {
            return {.why = "it is no file"};
        }
        return {
            .why = media::completeInPlace(
                **bytes, isAsWritten ? media::SampleBytes::asWritten : media::SampleBytes::unproven,
                control_)};
    } catch (const std::bad_alloc&) {
        return {.why = "there is no memory left"};
    }
}

Converted ConversionWork::convert(FileDescriptor source, FileDescriptor destination) {
    begin();
    try {
        const auto bytes = media::FileBytes::of(std::move(source), control_.cancelled);
        if (!bytes) {
            return {.error = systemError(bytes.error())};
        }
        const auto copied = media::copyMovie(
            **bytes,
            [&destination]() -> Expected<OutputFile, PlatformError> {
                return OutputFile{std::move(destination)};
            },
            control_);
        return {
            .error = copied ? std::nullopt : std::optional{copied.error()},
            .damagedBytes = control_.damagedBytes};
    } catch (const std::bad_alloc&) {
        return {.error = systemError(ENOMEM)};
    }
}

Measured ConversionWork::measure(FileDescriptor movie) const {
    try {
        const auto bytes = media::FileBytes::of(std::move(movie), control_.cancelled);
        return {.duration = bytes ? media::readableDuration(**bytes) : std::nullopt};
    } catch (const std::bad_alloc&) {
        return {};
    }
}

} // namespace brindle::capture
