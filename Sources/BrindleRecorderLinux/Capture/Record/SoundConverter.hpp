// Turns whatever a microphone delivers into the samples that the recording is made of.
#pragma once

#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <vector>

namespace brindle::media {

/// Mixes to one number of channels and resamples to one rate. Formats may change from one block to
/// the next. One thread at a time.
class SoundConverter {
  public:
    SoundConverter(int sampleRate, int channels) : rate_{sampleRate}, channels_{channels} {}

    /// Makes the sound that follows longer (more than zero) or shorter by this part of its length.
    void setStretch(double stretch);

    /// Interleaved samples, roughly as many as came in; none when the block makes no sense.
    std::vector<float> convert(const CapturedSound& sound);

  private:
    bool prepare(const SoundFormat& format);

    int rate_;
    int channels_;
    SoundFormat source_;
    ResamplerHandle resampler_;
    double stretch_ = 0;
};

} // namespace brindle::media
