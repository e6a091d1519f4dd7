#include "BrindleRecorderLinux/Capture/Record/VideoEncoder.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Record/EncoderOutput.hpp"

namespace brindle::media {

Expected<VideoEncoder, PlatformError> VideoEncoder::open(const VideoOutputSettings& settings) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (codec == nullptr) {
        return unexpected{recordingError("this system's FFmpeg has no H.264 encoder (libx264)")};
    }
    CodecHandle context{avcodec_alloc_context3(codec)};
    if (!context) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
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

    Options options;
    options.set("preset", preset);
    options.set("tune", tune);
    options.set("x264-params", parameters);
    options.set("forced-idr", std::int64_t{1});
    if (const int result = avcodec_open2(context.get(), codec, options.get()); result < 0) {
        return unexpected{mediaError(result)};
    }
    return VideoEncoder{std::move(context)};
}

Expected<std::vector<PacketHandle>, PlatformError>
VideoEncoder::encode(AVFrame& frame, std::int64_t number, bool asKeyFrame) {
    frame.pts = number;
    frame.pict_type = asKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    return encodeFrame(*context_, &frame);
}

Expected<std::vector<PacketHandle>, PlatformError> VideoEncoder::flush() {
    return encodeFrame(*context_, nullptr);
}

} // namespace brindle::media
