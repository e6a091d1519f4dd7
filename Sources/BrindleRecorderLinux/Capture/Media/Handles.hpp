// Owners of FFmpeg's objects: each gives its object back when it goes.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <utility>

namespace brindle::media {

/// For the library's functions that free an object through the address of its pointer.
template <auto release>
struct PointerReleaser {
    template <class Object>
    void operator()(Object* object) const {
        release(&object);
    }
};

struct ScalerReleaser {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

/// Frees a container context; its `pb` belongs to somebody else.
struct FormatReleaser {
    void operator()(AVFormatContext* format) const { avformat_free_context(format); }
};

/// Frees an I/O context together with its buffer, which the library may have exchanged.
struct IoReleaser {
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};

using CodecHandle = std::unique_ptr<AVCodecContext, PointerReleaser<avcodec_free_context>>;
using BufferHandle = std::unique_ptr<AVBufferRef, PointerReleaser<av_buffer_unref>>;
using FrameHandle = std::unique_ptr<AVFrame, PointerReleaser<av_frame_free>>;
using PacketHandle = std::unique_ptr<AVPacket, PointerReleaser<av_packet_free>>;
using ResamplerHandle = std::unique_ptr<SwrContext, PointerReleaser<swr_free>>;
using ScalerHandle = std::unique_ptr<SwsContext, ScalerReleaser>;
using FormatHandle = std::unique_ptr<AVFormatContext, FormatReleaser>;
using IoHandle = std::unique_ptr<AVIOContext, IoReleaser>;

/// A list of options for the library; what it did not take stays in it.
class Options {
  public:
    Options() = default;
    ~Options() { av_dict_free(&options_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    void set(const char* key, const char* value) { av_dict_set(&options_, key, value, 0); }
    void set(const char* key, std::int64_t value) { av_dict_set_int(&options_, key, value, 0); }
    [[nodiscard]] AVDictionary** get() { return &options_; }

  private:
    AVDictionary* options_ = nullptr;
};

} // namespace brindle::media
