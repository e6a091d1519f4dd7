// Compresses sound to AAC.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace brindle::media {

/// Takes interleaved samples in any portions. One thread at a time.
///
/// An AAC encoder begins with a block that holds nothing but its own run-up, which players would
/// show as sound that is a block late. That block is left out here and the times count from the
/// first real sample, so every player has sound and picture together without being told of a
/// run-up; in return the first 21 ms fade in.
class AudioEncoder {
  public:
    static Expected<AudioEncoder, PlatformError> open(const AudioOutputSettings& settings);

    /// The packets' times are in samples.
    Expected<std::vector<PacketHandle>, PlatformError> encode(std::span<const float> samples);

    /// What is left inside at the end.
    Expected<std::vector<PacketHandle>, PlatformError> flush();

    [[nodiscard]] const AVCodecContext& context() const { return *context_; }

  private:
    explicit AudioEncoder(CodecHandle context) : context_{std::move(context)} {}

    Expected<void, PlatformError>
    encodeBlock(std::span<const float> samples, std::vector<PacketHandle>& packets);
    void keep(std::vector<PacketHandle> fresh, std::vector<PacketHandle>& packets) const;

    CodecHandle context_;
    std::vector<float> waiting_; ///< less than a block
    std::int64_t encoded_ = 0;   ///< samples
};

} // namespace brindle::media
