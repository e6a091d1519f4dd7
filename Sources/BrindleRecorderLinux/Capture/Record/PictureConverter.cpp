#include "BrindleRecorderLinux/Capture/Record/PictureConverter.hpp"

#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace brindle::media {

namespace {

/// The full-range twins of some formats are deprecated names; the range is told separately.
AVPixelFormat withoutRange(AVPixelFormat format, bool& fullRange) {
    constexpr std::array<std::pair<AVPixelFormat, AVPixelFormat>, 4> twins{
        {{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
         {AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
         {AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
         {AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUV440P}}};
    for (const auto& [twin, plain] : twins) {
        if (format == twin) {
            fullRange = true;
            return plain;
        }
    }
    return format;
}

/// Cameras that do not say which matrix they use follow the old television standard, as their USB
/// class prescribes, whatever their resolution.
int matrixOf(AVColorSpace colorSpace) {
    switch (colorSpace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return SWS_CS_ITU601;
    }
}

} // namespace

AVFrame* PictureConverter::convert(const CapturedPicture& picture) {
    if (!isComplete(picture)) {
        return nullptr;
    }
    const std::optional<Source> source = picture.format.coding == PictureFormat::Coding::motionJpeg
                                             ? decodedSource(picture)
                                             : rawSource(picture);
    return source ? scale(*source) : nullptr;
}

std::optional<PictureConverter::Source>
PictureConverter::rawSource(const CapturedPicture& picture) {
    const PictureFormat& format = picture.format;
    Source source{
        .shape =
            {.width = format.width,
             .height = format.height,
             .pixelAspectNumerator = format.pixelAspectNumerator,
             .pixelAspectDenominator = format.pixelAspectDenominator},
        .pixelFormat = format.pixelFormat,
        .colorSpace = format.colorSpace,
        .fullRange = format.fullRange,
        .planes = {},
        .strides = {}};
    std::array<std::ptrdiff_t, 4> strides{};
    std::array<std::size_t, 4> sizes{};
    for (std::size_t plane = 0; plane < strides.size(); ++plane) {
        source.strides.at(plane) = picture.strides.at(plane);
        strides.at(plane) = picture.strides.at(plane);
    }
    if (av_image_fill_plane_sizes(sizes.data(), format.pixelFormat, format.height, strides.data()) <
        0) {
        return std::nullopt;
    }
    const std::uint8_t* position = picture.bytes.data();
    for (std::size_t plane = 0; plane < sizes.size() && sizes.at(plane) > 0; ++plane) {
        source.planes.at(plane) = position;
        position += sizes.at(plane);
    }
    if (format.swappedChroma) {
        std::swap(source.planes[1], source.planes[2]);
    }
    return source;
}

std::optional<PictureConverter::Source>
PictureConverter::decodedSource(const CapturedPicture& picture) {
    if (!decoder_) {
        const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
        decoder_.reset(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
        decoded_.reset(av_frame_alloc());
        if (!decoder_ || !decoded_) {
            return std::nullopt;
        }
        // A second thread would hold every picture back by one.
        decoder_->thread_count = 1;
        if (avcodec_open2(decoder_.get(), codec, nullptr) < 0) {
            decoder_.reset();
            return std::nullopt;
        }
    }
    const PacketHandle packet{av_packet_alloc()};
    if (!packet || av_new_packet(packet.get(), static_cast<int>(picture.bytes.size())) < 0) {
        return std::nullopt;
    }
    std::memcpy(packet->data, picture.bytes.data(), picture.bytes.size());
    if (avcodec_send_packet(decoder_.get(), packet.get()) < 0 ||
        avcodec_receive_frame(decoder_.get(), decoded_.get()) < 0) {
        return std::nullopt;
    }
    Source source{
        .shape =
            {.width = decoded_->width,
             .height = decoded_->height,
             .pixelAspectNumerator = decoded_->sample_aspect_ratio.num,
             .pixelAspectDenominator = decoded_->sample_aspect_ratio.den},
        .pixelFormat = static_cast<AVPixelFormat>(decoded_->format),
        .colorSpace = decoded_->colorspace,
        .fullRange = decoded_->color_range == AVCOL_RANGE_JPEG,
        .planes = {},
        .strides = {}};
    source.pixelFormat = withoutRange(source.pixelFormat, source.fullRange);
    for (std::size_t plane = 0; plane < source.planes.size(); ++plane) {
        // The frame's arrays are C arrays of a fixed, larger size.
        source.planes.at(plane) = decoded_->data[plane];
        source.strides.at(plane) = decoded_->linesize[plane];
    }
    return source;
}

AVFrame* PictureConverter::scale(const Source& source) {
    if (sws_isSupportedInput(source.pixelFormat) == 0 || source.shape.width <= 0 ||
        source.shape.height <= 0) {
        return nullptr;
    }
    const PictureRectangle fit = fitPicture(source.shape, width_, height_);
    if (!prepareFrame(fit)) {
        return nullptr;
    }
    scaler_.reset(sws_getCachedContext(
        scaler_.release(), source.shape.width, source.shape.height, source.pixelFormat, fit.width,
        fit.height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!scaler_) {
        return nullptr;
    }
    constexpr int unchanged = 1 << 16;
    sws_setColorspaceDetails(
        scaler_.get(), sws_getCoefficients(matrixOf(source.colorSpace)), source.fullRange ? 1 : 0,
        sws_getCoefficients(SWS_CS_ITU709), 0, 0, unchanged, unchanged);

    const auto plane = [this, &fit](int index, int halving) {
        return frame_->data[index] + std::ptrdiff_t{fit.y >> halving} * frame_->linesize[index] +
               (fit.x >> halving);
    };
    const std::array<std::uint8_t*, 4> planes{plane(0, 0), plane(1, 1), plane(2, 1), nullptr};
    const int lines = sws_scale(
        scaler_.get(), source.planes.data(), source.strides.data(), 0, source.shape.height,
        planes.data(), frame_->linesize);
    return lines == fit.height ? frame_.get() : nullptr;
}

bool PictureConverter::prepareFrame(const PictureRectangle& fit) {
    // The encoder may still hold the frame it was given last.
    if (frame_ && fit == fit_ && av_frame_is_writable(frame_.get()) == 1) {
        return true;
    }
    frame_.reset(av_frame_alloc());
    if (!frame_) {
        return false;
    }
    frame_->format = AV_PIX_FMT_YUV420P;
    frame_->width = width_;
    frame_->height = height_;
    frame_->color_range = AVCOL_RANGE_MPEG;
    frame_->colorspace = AVCOL_SPC_BT709;
    frame_->color_primaries = AVCOL_PRI_BT709;
    frame_->color_trc = AVCOL_TRC_BT709;
    if (av_frame_get_buffer(frame_.get(), 0) < 0) {
        frame_.reset();
        return false;
    }
    const std::array<std::ptrdiff_t, 4> strides{
        frame_->linesize[0], frame_->linesize[1], frame_->linesize[2], 0};
    av_image_fill_black(
        frame_->data, strides.data(), AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, width_, height_);
    fit_ = fit;
    return true;
}

} // namespace brindle::media
