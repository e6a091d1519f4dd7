#include "BrindleRecorderLinux/Capture/Record/EncoderInput.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace brindle::media {

namespace {

using Result = Expected<FrameHandle, PlatformError>;

/// What an encoder may have in hand at once.
constexpr int surfacesAtOnce = 8;

Expected<BufferHandle, PlatformError> makeSurfaces(const AVCodecContext& encoder) {
    AVBufferRef* opened = nullptr;
    int result = av_hwdevice_ctx_create(&opened, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0);
    const BufferHandle device{opened};
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    BufferHandle surfaces{av_hwframe_ctx_alloc(device.get())};
    if (!surfaces) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    void* const bytes = surfaces->data;
    auto& wanted = *static_cast<AVHWFramesContext*>(bytes);
    wanted.format = AV_PIX_FMT_VAAPI;
    wanted.sw_format = AV_PIX_FMT_NV12;
    wanted.width = encoder.width;
    wanted.height = encoder.height;
    wanted.initial_pool_size = surfacesAtOnce;
    result = av_hwframe_ctx_init(surfaces.get());
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    return surfaces;
}

Result emptyFrame(const AVFrame& like) {
    FrameHandle frame{av_frame_alloc()};
    const int result = frame ? av_frame_copy_props(frame.get(), &like) : AVERROR(ENOMEM);
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    return frame;
}

Result interleaved(const AVFrame& frame) {
    auto copy = emptyFrame(frame);
    if (!copy) {
        return copy;
    }
    AVFrame& made = **copy;
    made.format = AV_PIX_FMT_NV12;
    made.width = frame.width;
    made.height = frame.height;
    if (const int result = av_frame_get_buffer(&made, 0); result < 0) {
        return unexpected{mediaError(result)};
    }
    for (std::ptrdiff_t line = 0; line < frame.height; ++line) {
        std::copy_n(
            frame.data[0] + line * frame.linesize[0], frame.width,
            made.data[0] + line * made.linesize[0]);
    }
    for (std::ptrdiff_t line = 0; line < (frame.height + 1) / 2; ++line) {
        const std::uint8_t* const blue = frame.data[1] + line * frame.linesize[1];
        const std::uint8_t* const red = frame.data[2] + line * frame.linesize[2];
        std::uint8_t* const both = made.data[1] + line * made.linesize[1];
        for (std::ptrdiff_t column = 0; column < (frame.width + 1) / 2; ++column) {
            both[2 * column] = blue[column];
            both[2 * column + 1] = red[column];
        }
    }
    return copy;
}

} // namespace

Expected<EncoderInput, PlatformError> EncoderInput::prepare(Form form, AVCodecContext& encoder) {
    BufferHandle surfaces;
    switch (form) {
    case Form::planar:
        encoder.pix_fmt = AV_PIX_FMT_YUV420P;
        break;
    case Form::interleaved:
        encoder.pix_fmt = AV_PIX_FMT_NV12;
        break;
    case Form::surface:
        encoder.pix_fmt = AV_PIX_FMT_VAAPI;
        auto made = makeSurfaces(encoder);
        if (!made) {
            return unexpected{std::move(made.error())};
        }
        surfaces = std::move(*made);
        encoder.hw_frames_ctx = av_buffer_ref(surfaces.get());
        if (encoder.hw_frames_ctx == nullptr) {
            return unexpected{mediaError(AVERROR(ENOMEM))};
        }
        break;
    }
    return EncoderInput{form, std::move(surfaces)};
}

Result EncoderInput::take(const AVFrame& frame) const {
    if (form_ == Form::planar) {
        FrameHandle same{av_frame_clone(&frame)};
        if (!same) {
            return unexpected{mediaError(AVERROR(ENOMEM))};
        }
        return same;
    }
    auto copy = interleaved(frame);
    if (!copy || form_ == Form::interleaved) {
        return copy;
    }
    auto surface = emptyFrame(frame);
    if (!surface) {
        return surface;
    }
    int result = av_hwframe_get_buffer(surfaces_.get(), surface->get(), 0);
    result = result < 0 ? result : av_hwframe_transfer_data(surface->get(), copy->get(), 0);
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    return surface;
}

} // namespace brindle::media
