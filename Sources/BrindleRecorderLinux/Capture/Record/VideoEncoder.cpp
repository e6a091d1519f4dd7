#include "BrindleRecorderLinux/Capture/Record/VideoEncoder.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Record/EncoderOutput.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace brindle::media {

namespace {

/// How one of FFmpeg's encoders is made to answer each frame at once, to begin anew where it is
/// asked to, and to keep to the bit rate, in its own words. Others need no words for that.
struct Manner {
    struct Setting {
        const char* key = nullptr;
        const char* value = nullptr;
    };
    std::string_view encoder;
    EncoderInput::Form form = EncoderInput::Form::planar;
    std::array<Setting, 4> settings{};
};

constexpr std::array manners{
    Manner{
        .encoder = "libx264",
        .settings =
            {{{"preset", VideoEncoder::preset},
              {"tune", VideoEncoder::tune},
              {"x264-params", VideoEncoder::parameters},
              {"forced-idr", "1"}}}},
    Manner{
        .encoder = "libopenh264",
        .settings = {{{"rc_mode", "bitrate"}, {"allow_skip_frames", "0"}}}},
    Manner{
        .encoder = "h264_nvenc",
        .settings = {{{"zerolatency", "1"}, {"delay", "0"}, {"forced-idr", "1"}}}},
    Manner{
        .encoder = "h264_qsv",
        .form = EncoderInput::Form::interleaved,
        .settings = {{{"async_depth", "1"}, {"forced_idr", "1"}}}},
    Manner{
        .encoder = "h264_amf",
        .form = EncoderInput::Form::interleaved,
        .settings = {{{"usage", "lowlatency"}, {"forced_idr", "1"}}}},
    Manner{
        .encoder = "h264_vaapi",
        .form = EncoderInput::Form::surface,
        .settings = {{{"async_depth", "1"}}}}};

Manner mannerOf(const AVCodec& codec) {
    const auto* const found =
        std::ranges::find(manners, std::string_view{codec.name}, &Manner::encoder);
    return found == manners.end() ? Manner{} : *found;
}

Expected<const AVCodec*, PlatformError> find(const std::optional<std::string>& name) {
    const AVCodec* const codec =
        name ? avcodec_find_encoder_by_name(name->c_str()) : avcodec_find_encoder(AV_CODEC_ID_H264);
    if (codec == nullptr || codec->id != AV_CODEC_ID_H264) {
        return unexpected{recordingError(
            "this system's FFmpeg has no H.264 encoder" + (name ? " " + *name : std::string{}))};
    }
    return codec;
}

} // namespace

Expected<VideoEncoder, PlatformError>
VideoEncoder::open(const VideoOutputSettings& settings, const std::optional<std::string>& name) {
    const auto found = find(name);
    if (!found) {
        return unexpected{found.error()};
    }
    const AVCodec* const codec = *found;
    CodecHandle context{avcodec_alloc_context3(codec)};
    if (!context) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    context->width = settings.width;
    context->height = settings.height;
    context->time_base = {1, settings.expectedSourceFrameRate};
    context->framerate = {settings.expectedSourceFrameRate, 1};
    context->sample_aspect_ratio = {1, 1};
    context->bit_rate = settings.averageBitRate;
    context->gop_size = settings.maxKeyFrameInterval;
    // B-frames would double the cost and reorder what has to stay in order for the fragments.
    context->max_b_frames = 0;
    context->color_range = AVCOL_RANGE_MPEG;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    const Manner manner = mannerOf(*codec);
    auto input = EncoderInput::prepare(manner.form, *context);
    if (!input) {
        return unexpected{std::move(input.error())};
    }
    Options options;
    for (const auto& [key, value] : manner.settings) {
        if (key != nullptr) {
            options.set(key, value); // a version that does not know it leaves it
        }
    }
    if (const int result = avcodec_open2(context.get(), codec, options.get()); result < 0) {
        return unexpected{mediaError(result)};
    }
    return VideoEncoder{std::move(context), std::move(*input)};
}

Expected<std::vector<PacketHandle>, PlatformError>
VideoEncoder::encode(AVFrame& frame, std::int64_t number, bool asKeyFrame) {
    frame.pts = number;
    frame.pict_type = asKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    const auto taken = input_.take(frame);
    if (!taken) {
        return unexpected{taken.error()};
    }
    return encodeFrame(*context_, taken->get());
}

Expected<std::vector<PacketHandle>, PlatformError> VideoEncoder::flush() {
    return encodeFrame(*context_, nullptr);
}

} // namespace brindle::media
