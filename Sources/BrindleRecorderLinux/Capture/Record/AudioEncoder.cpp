#include "BrindleRecorderLinux/Capture/Record/AudioEncoder.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Record/EncoderOutput.hpp"

#include <cstddef>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace brindle::media {

Expected<AudioEncoder, PlatformError> AudioEncoder::open(const AudioOutputSettings& settings) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (codec == nullptr) {
        return unexpected{recordingError("this system's FFmpeg has no AAC encoder")};
    }
    CodecHandle context{avcodec_alloc_context3(codec)};
    if (!context) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    context->sample_rate = settings.sampleRate;
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->bit_rate = settings.bitRate;
    context->time_base = {1, settings.sampleRate};
    av_channel_layout_default(&context->ch_layout, settings.numberOfChannels);
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int result = avcodec_open2(context.get(), codec, nullptr); result < 0) {
        return unexpected{mediaError(result)};
    }
    return AudioEncoder{std::move(context)};
}

Expected<std::vector<PacketHandle>, PlatformError>
AudioEncoder::encode(std::span<const float> samples) {
    waiting_.insert(waiting_.end(), samples.begin(), samples.end());
    const auto channels = static_cast<std::size_t>(context_->ch_layout.nb_channels);
    const std::size_t block = static_cast<std::size_t>(context_->frame_size) * channels;
    std::vector<PacketHandle> packets;
    std::size_t used = 0;
    for (; waiting_.size() - used >= block; used += block) {
        const auto result = encodeBlock(std::span{waiting_}.subspan(used, block), packets);
        if (!result) {
            return unexpected{result.error()};
        }
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(used));
    return packets;
}

Expected<std::vector<PacketHandle>, PlatformError> AudioEncoder::flush() {
    std::vector<PacketHandle> packets;
    if (!waiting_.empty()) {
        const auto result = encodeBlock(waiting_, packets);
        if (!result) {
            return unexpected{result.error()};
        }
        waiting_.clear();
    }
    auto rest = encodeFrame(*context_, nullptr);
    if (!rest) {
        return unexpected{rest.error()};
    }
    keep(std::move(*rest), packets);
    return packets;
}

Expected<void, PlatformError>
AudioEncoder::encodeBlock(std::span<const float> samples, std::vector<PacketHandle>& packets) {
    const auto channels = static_cast<std::size_t>(context_->ch_layout.nb_channels);
    const std::size_t count = samples.size() / channels;
    const FrameHandle frame{av_frame_alloc()};
    if (!frame) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->nb_samples = static_cast<int>(count);
    frame->sample_rate = context_->sample_rate;
    frame->pts = encoded_;
    int result = av_channel_layout_copy(&frame->ch_layout, &context_->ch_layout);
    result = result < 0 ? result : av_frame_get_buffer(frame.get(), 0);
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    for (std::size_t channel = 0; channel < channels; ++channel) {
        void* const bytes = frame->extended_data[channel];
        auto* const plane = static_cast<float*>(bytes);
        for (std::size_t index = 0; index < count; ++index) {
            plane[index] = samples[index * channels + channel];
        }
    }
    encoded_ += static_cast<std::int64_t>(count);
    auto fresh = encodeFrame(*context_, frame.get());
    if (!fresh) {
        return unexpected{fresh.error()};
    }
    keep(std::move(*fresh), packets);
    return {};
}

void AudioEncoder::keep(std::vector<PacketHandle> fresh, std::vector<PacketHandle>& packets) const {
    for (PacketHandle& packet : fresh) {
        // The run-up lies before zero.
        if (packet->pts >= 0) {
            // What comes after a run-up is told without a duration.
            packet->duration = packet->duration > 0 ? packet->duration : context_->frame_size;
            packets.push_back(std::move(packet));
        }
    }
}

} // namespace brindle::media
