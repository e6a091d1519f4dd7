#include "BrindleRecorderLinux/Capture/Record/SoundConverter.hpp"

#include <cmath>
#include <cstddef>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
}

namespace brindle::media {

namespace {

/// A channel layout that gives back what it allocated.
class ChannelLayout {
  public:
    explicit ChannelLayout(int channels) { av_channel_layout_default(&layout_, channels); }
    ~ChannelLayout() { av_channel_layout_uninit(&layout_); }
    ChannelLayout(const ChannelLayout&) = delete;
    ChannelLayout& operator=(const ChannelLayout&) = delete;
    [[nodiscard]] AVChannelLayout* get() { return &layout_; }

  private:
    AVChannelLayout layout_{};
};

/// An even mix of every channel into each: what unnamed inputs of an interface mean is unknown.
std::vector<double> evenMix(int from, int to) {
    return std::vector<double>(
        static_cast<std::size_t>(from) * static_cast<std::size_t>(to), 1.0 / from);
}

} // namespace

bool SoundConverter::prepare(const SoundFormat& format) {
    if (resampler_ && format == source_) {
        return true;
    }
    ChannelLayout from{format.channels};
    ChannelLayout to{channels_};
    SwrContext* created = nullptr;
    const int result = swr_alloc_set_opts2(
        &created, to.get(), AV_SAMPLE_FMT_FLT, rate_, from.get(), format.sampleFormat,
        format.sampleRate, 0, nullptr);
    resampler_.reset(created);
    if (result < 0) {
        resampler_.reset();
        return false;
    }
    // Resamples from the start even at equal rates, so that stretching can begin without a click.
    av_opt_set_int(resampler_.get(), "flags", SWR_FLAG_RESAMPLE, 0);
    if (format.channels != channels_) {
        const std::vector<double> mix = evenMix(format.channels, channels_);
        swr_set_matrix(resampler_.get(), mix.data(), format.channels);
    }
    if (swr_init(resampler_.get()) < 0) {
        resampler_.reset();
        return false;
    }
    source_ = format;
    const double stretch = stretch_;
    stretch_ = 0;
    setStretch(stretch);
    return true;
}

void SoundConverter::setStretch(double stretch) {
    if (!resampler_ || stretch == stretch_) {
        stretch_ = stretch;
        return;
    }
    // Spread over many seconds and renewed with every change, so that it never runs out.
    constexpr int seconds = 10;
    const int distance = rate_ * seconds;
    const auto added = static_cast<int>(std::lround(stretch * distance));
    if (swr_set_compensation(resampler_.get(), added, distance) >= 0) {
        stretch_ = stretch;
    }
}

std::vector<float> SoundConverter::convert(const CapturedSound& sound) {
    if (!isComplete(sound) || !prepare(sound.format)) {
        return {};
    }
    const auto channels = static_cast<std::size_t>(sound.format.channels);
    const auto sampleSize =
        static_cast<std::size_t>(av_get_bytes_per_sample(sound.format.sampleFormat));
    std::vector<const std::uint8_t*> planes(channels, sound.bytes.data());
    if (av_sample_fmt_is_planar(sound.format.sampleFormat) == 1) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            planes.at(channel) += channel * sampleSize * static_cast<std::size_t>(sound.count);
        }
    }
    const int room = swr_get_out_samples(resampler_.get(), sound.count);
    if (room <= 0) {
        return {};
    }
    std::vector<float> samples(
        static_cast<std::size_t>(room) * static_cast<std::size_t>(channels_));
    void* output = samples.data();
    auto* const outputPlane = static_cast<std::uint8_t*>(output);
    std::uint8_t* outputs = outputPlane;
    const int count = swr_convert(resampler_.get(), &outputs, room, planes.data(), sound.count);
    samples.resize(
        count > 0 ? static_cast<std::size_t>(count) * static_cast<std::size_t>(channels_) : 0);
    return samples;
}

} // namespace brindle::media
