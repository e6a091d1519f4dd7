// How a recording is set up: which inputs, which pictures, which sound, which fragments.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"

#include <cstddef>
#include <memory>

namespace brindle {

/// A session with its inputs and its output, ready to run.
struct ConfiguredCapture {
    std::shared_ptr<CaptureSession> session;
    std::shared_ptr<MovieFileOutput> output;
};

/// Main thread only.
struct CaptureConfiguration {
    static constexpr int frameRate = 30; ///< frames per second
    static constexpr Seconds movieFragmentInterval{5};
    static constexpr VideoOutputSettings videoSettings{
        .width = 1920,
        .height = 1080,
        .averageBitRate = 5'000'000,
        .expectedSourceFrameRate = frameRate,
        .maxKeyFrameInterval = 60,
        // A camera that works is never so late, and nobody minds two seconds of black.
        .firstPictureWithin = Seconds{2},
        // About twenty raw pictures: a device that goes on while nobody takes what it delivers
        // would fill the memory.
        .mostWaitingBytes = std::size_t{64} * 1024 * 1024};
    static constexpr AudioOutputSettings audioSettings{
        .numberOfChannels = 1,
        .sampleRate = 48'000,
        .bitRate = 96'000,
        // More than a minute: sound is small and must not be left out lightly.
        .mostWaitingBytes = std::size_t{16} * 1024 * 1024};

    /// Opens the devices, either of which may be null, and connects them with a movie file output.
    /// Fails with `cannotAddVideoInput`, `cannotAddAudioInput` or `cannotAddOutput`.
    static Expected<ConfiguredCapture, RecorderError> configure(
        CaptureSystem& captureSystem, const std::shared_ptr<CaptureDevice>& video,
        const std::shared_ptr<CaptureDevice>& audio);
};

} // namespace brindle
