#include "BrindleRecorderLinux/Capture/Streams/CameraFormats.hpp"

#include <spa/debug/types.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/param/video/type-info.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <array>
#include <span>
#include <tuple>

namespace brindle::pipewire {

namespace {

struct PixelFormatName {
    std::uint32_t spa;
    AVPixelFormat ffmpeg;
    bool swappedChroma = false;
};

/// Alpha channels are not looked at: a camera's picture is opaque.
constexpr std::array pixelFormats{
    PixelFormatName{SPA_VIDEO_FORMAT_NV12, AV_PIX_FMT_NV12},
    PixelFormatName{SPA_VIDEO_FORMAT_I420, AV_PIX_FMT_YUV420P},
    PixelFormatName{SPA_VIDEO_FORMAT_YV12, AV_PIX_FMT_YUV420P, true},
    PixelFormatName{SPA_VIDEO_FORMAT_YUY2, AV_PIX_FMT_YUYV422},
    PixelFormatName{SPA_VIDEO_FORMAT_UYVY, AV_PIX_FMT_UYVY422},
    PixelFormatName{SPA_VIDEO_FORMAT_YVYU, AV_PIX_FMT_YVYU422},
    PixelFormatName{SPA_VIDEO_FORMAT_NV21, AV_PIX_FMT_NV21},
    PixelFormatName{SPA_VIDEO_FORMAT_Y42B, AV_PIX_FMT_YUV422P},
    PixelFormatName{SPA_VIDEO_FORMAT_Y444, AV_PIX_FMT_YUV444P},
    PixelFormatName{SPA_VIDEO_FORMAT_RGB, AV_PIX_FMT_RGB24},
    PixelFormatName{SPA_VIDEO_FORMAT_BGR, AV_PIX_FMT_BGR24},
    PixelFormatName{SPA_VIDEO_FORMAT_RGBx, AV_PIX_FMT_RGB0},
    PixelFormatName{SPA_VIDEO_FORMAT_BGRx, AV_PIX_FMT_BGR0},
    PixelFormatName{SPA_VIDEO_FORMAT_xRGB, AV_PIX_FMT_0RGB},
    PixelFormatName{SPA_VIDEO_FORMAT_xBGR, AV_PIX_FMT_0BGR},
    PixelFormatName{SPA_VIDEO_FORMAT_RGBA, AV_PIX_FMT_RGB0},
    PixelFormatName{SPA_VIDEO_FORMAT_BGRA, AV_PIX_FMT_BGR0},
    PixelFormatName{SPA_VIDEO_FORMAT_ARGB, AV_PIX_FMT_0RGB},
    PixelFormatName{SPA_VIDEO_FORMAT_ABGR, AV_PIX_FMT_0BGR},
    PixelFormatName{SPA_VIDEO_FORMAT_GRAY8, AV_PIX_FMT_GRAY8}};

const PixelFormatName* pixelFormat(std::uint32_t spa) {
    const auto* const found =
        std::find_if(pixelFormats.begin(), pixelFormats.end(), [spa](const PixelFormatName& name) {
            return name.spa == spa;
        });
    return found != pixelFormats.end() ? found : nullptr;
}

/// A property's values: the alternatives of a choice without its default, or the one value.
template <class Value>
struct Values {
    std::uint32_t choice = SPA_CHOICE_None;
    std::vector<Value> values;
};

template <class Value>
Values<Value> valuesOf(const spa_pod* format, std::uint32_t key, std::uint32_t type) {
    const spa_pod_prop* property = spa_pod_find_prop(format, nullptr, key);
    if (property == nullptr) {
        return {};
    }
    std::uint32_t count = 0;
    std::uint32_t choice = SPA_CHOICE_None;
    const spa_pod* pod = spa_pod_get_values(&property->value, &count, &choice);
    if (pod == nullptr || pod->type != type || pod->size != sizeof(Value) || count == 0) {
        return {};
    }
    const void* const body = SPA_POD_BODY_CONST(pod);
    std::span all{static_cast<const Value*>(body), count};
    if (choice == SPA_CHOICE_Enum && count > 1) {
        all = all.subspan(1);
    }
    return {.choice = choice, .values = {all.begin(), all.end()}};
}

/// A range's values are its default, its least and its greatest.
constexpr std::size_t rangeSize = 3;

template <class Value>
bool isRange(const Values<Value>& values) {
    return (values.choice == SPA_CHOICE_Range || values.choice == SPA_CHOICE_Step) &&
           values.values.size() >= rangeSize;
}

std::vector<spa_rectangle> sizesOf(const spa_pod* format, const WantedPictures& wanted) {
    const auto sizes = valuesOf<spa_rectangle>(format, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    if (!isRange(sizes)) {
        return sizes.values;
    }
    const auto within = [](int value, std::uint32_t least, std::uint32_t greatest) {
        return std::clamp(static_cast<std::uint32_t>(value), least, std::max(least, greatest));
    };
    const spa_rectangle& least = sizes.values[1];
    const spa_rectangle& greatest = sizes.values[2];
    return {
        {within(wanted.width, least.width, greatest.width),
         within(wanted.height, least.height, greatest.height)}};
}

PictureRate rateFrom(const spa_fraction& fraction) {
    return fraction.denom > 0 ? PictureRate{fraction.num, fraction.denom} : PictureRate{};
}

PictureRate rateOf(const spa_pod* format, const WantedPictures& wanted) {
    const auto rates =
        valuesOf<spa_fraction>(format, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    if (rates.values.empty()) {
        return {};
    }
    const double enough = wanted.frameRate;
    if (isRange(rates)) {
        const PictureRate least = rateFrom(rates.values[1]);
        const PictureRate most = rateFrom(rates.values[2]);
        if (least.aSecond() > enough || most.aSecond() < least.aSecond()) {
            return least;
        }
        return most.aSecond() < enough
                   ? most
                   : PictureRate{static_cast<std::uint32_t>(wanted.frameRate), 1};
    }
    PictureRate best = rateFrom(rates.values.front());
    for (const spa_fraction& fraction : rates.values) {
        const PictureRate rate = rateFrom(fraction);
        // Too many can be thinned out; too few cannot be made more.
        const bool betterTooMany = best.aSecond() < enough && rate.aSecond() > best.aSecond();
        const bool betterEnough = rate.aSecond() >= enough && rate.aSecond() < best.aSecond();
        best = betterTooMany || betterEnough ? rate : best;
    }
    return best;
}

AVColorSpace colorSpaceOf(std::uint32_t matrix) {
    switch (matrix) {
    case SPA_VIDEO_COLOR_MATRIX_BT709:
        return AVCOL_SPC_BT709;
    case SPA_VIDEO_COLOR_MATRIX_FCC:
        return AVCOL_SPC_FCC;
    case SPA_VIDEO_COLOR_MATRIX_SMPTE240M:
        return AVCOL_SPC_SMPTE240M;
    case SPA_VIDEO_COLOR_MATRIX_BT2020:
        return AVCOL_SPC_BT2020_NCL;
    default:
        return AVCOL_SPC_UNSPECIFIED;
    }
}

const spa_rectangle smallest{1, 1};
const spa_rectangle largest{16'384, 16'384};
const spa_fraction slowest{0, 1};
const spa_fraction bearable{10, 1};
const spa_fraction fluent{15, 1};
const spa_fraction fastest{1000, 1};

/// Appends one request to the builder.
class RequestWriter {
  public:
    RequestWriter(spa_pod_builder& builder, std::uint32_t subtype) : builder_{builder} {
        spa_pod_builder_push_object(
            &builder_, &frame_, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(
            &builder_, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
            SPA_FORMAT_mediaSubtype, SPA_POD_Id(subtype), 0);
    }

    void anyPixelFormat() {
        spa_pod_frame choice{};
        spa_pod_builder_prop(&builder_, SPA_FORMAT_VIDEO_format, 0);
        spa_pod_builder_push_choice(&builder_, &choice, SPA_CHOICE_Enum, 0);
        spa_pod_builder_id(&builder_, pixelFormats.front().spa);
        for (const PixelFormatName& format : pixelFormats) {
            spa_pod_builder_id(&builder_, format.spa);
        }
        spa_pod_builder_pop(&builder_, &choice);
    }

    void pixelFormat(std::uint32_t format) {
        spa_pod_builder_add(&builder_, SPA_FORMAT_VIDEO_format, SPA_POD_Id(format), 0);
    }

    void anySize(spa_rectangle preferred) {
        spa_pod_builder_add(
            &builder_, SPA_FORMAT_VIDEO_size,
            SPA_POD_CHOICE_RANGE_Rectangle(&preferred, &smallest, &largest), 0);
    }

    void size(spa_rectangle size) {
        spa_pod_builder_add(&builder_, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
    }

    void rate(spa_fraction rate) {
        spa_pod_builder_add(&builder_, SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    }

    void anyRateFrom(spa_fraction least, spa_fraction preferred) {
        spa_pod_builder_add(
            &builder_, SPA_FORMAT_VIDEO_framerate,
            SPA_POD_CHOICE_RANGE_Fraction(&preferred, &least, &fastest), 0);
    }

    const spa_pod* finish() {
        void* const pod = spa_pod_builder_pop(&builder_, &frame_);
        return static_cast<const spa_pod*>(pod);
    }

  private:
    spa_pod_builder& builder_;
    spa_pod_frame frame_{};
};

std::uint32_t subtypeOf(media::PictureFormat::Coding coding) {
    return coding == media::PictureFormat::Coding::motionJpeg ? SPA_MEDIA_SUBTYPE_mjpg
                                                              : SPA_MEDIA_SUBTYPE_raw;
}

} // namespace

std::vector<OfferedFormat> offeredFormats(const spa_pod* format, const WantedPictures& wanted) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (format == nullptr || spa_format_parse(format, &type, &subtype) < 0 ||
        type != SPA_MEDIA_TYPE_video) {
        return {};
    }
    using Coding = media::PictureFormat::Coding;
    std::vector<OfferedFormat> codings;
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg) {
        codings.push_back({.coding = Coding::motionJpeg});
    } else if (subtype == SPA_MEDIA_SUBTYPE_raw) {
        const auto formats = valuesOf<std::uint32_t>(format, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id);
        for (const std::uint32_t rawFormat : formats.values) {
            if (pixelFormat(rawFormat) != nullptr) {
                codings.push_back({.coding = Coding::raw, .rawFormat = rawFormat});
            }
        }
    }
    const PictureRate rate = rateOf(format, wanted);
    std::vector<OfferedFormat> offers;
    for (const spa_rectangle& size : sizesOf(format, wanted)) {
        if (size.width == 0 || size.width > largest.width || size.height == 0 ||
            size.height > largest.height) {
            continue;
        }
        for (OfferedFormat offer : codings) {
            offer.width = static_cast<int>(size.width);
            offer.height = static_cast<int>(size.height);
            offer.rate = rate;
            offers.push_back(offer);
        }
    }
    return offers;
}

std::vector<OfferedFormat>
bestFirst(std::vector<OfferedFormat> offers, const WantedPictures& wanted) {
    const auto merit = [&wanted](const OfferedFormat& offer) {
        // A camera that decides by itself is trusted to deliver enough. Rates a little below the
        // wanted one, as television has them, are as good.
        constexpr double almost = 0.99;
        const double enough = wanted.frameRate;
        const double rate = offer.rate.numerator > 0 ? offer.rate.aSecond() : enough;
        const double usefulRate = rate >= enough * almost ? enough : rate;
        const std::int64_t pixels = std::int64_t{offer.width} * offer.height;
        const std::int64_t wantedPixels = std::int64_t{wanted.width} * wanted.height;
        return std::tuple{
            usefulRate, std::min(pixels, wantedPixels), -pixels,
            offer.coding == media::PictureFormat::Coding::raw};
    };
    std::stable_sort(
        offers.begin(), offers.end(),
        [&merit](const OfferedFormat& left, const OfferedFormat& right) {
            return merit(left) > merit(right);
        });
    return offers;
}

std::vector<const spa_pod*> cameraFormatRequest(
    const std::vector<OfferedFormat>& offers, const WantedPictures& wanted,
    std::vector<std::uint8_t>& buffer) {
    constexpr std::size_t mostOffers =
        16; // a camera takes the first of them, unless it has changed
    constexpr std::size_t roomForAll = 16'384;
    buffer.assign(roomForAll, 0);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    const spa_rectangle wantedSize{
        static_cast<std::uint32_t>(wanted.width), static_cast<std::uint32_t>(wanted.height)};
    const spa_fraction wantedRate{static_cast<std::uint32_t>(wanted.frameRate), 1};
    std::vector<const spa_pod*> pods;
    for (const OfferedFormat& offer :
         std::span{offers}.first(std::min(offers.size(), mostOffers))) {
        RequestWriter request{builder, subtypeOf(offer.coding)};
        if (offer.coding == media::PictureFormat::Coding::raw) {
            request.pixelFormat(offer.rawFormat);
        }
        request.size(
            {static_cast<std::uint32_t>(offer.width), static_cast<std::uint32_t>(offer.height)});
        if (offer.rate.numerator > 0) {
            request.rate({offer.rate.numerator, offer.rate.denominator});
        } else {
            request.anyRateFrom(slowest, wantedRate);
        }
        pods.push_back(request.finish());
    }
    // The server takes a range's first rate, however slow: step by step it has no slow ones to
    // take.
    for (const spa_fraction least : {wantedRate, fluent, bearable, slowest}) {
        for (const std::uint32_t subtype : {SPA_MEDIA_SUBTYPE_raw, SPA_MEDIA_SUBTYPE_mjpg}) {
            RequestWriter request{builder, subtype};
            if (subtype == SPA_MEDIA_SUBTYPE_raw) {
                request.anyPixelFormat();
            }
            request.anySize(wantedSize);
            request.anyRateFrom(least, wantedRate);
            pods.push_back(request.finish());
        }
    }
    return pods;
}

std::optional<AgreedPictures> agreedPictures(const spa_pod* format) {
    spa_video_info info{};
    if (format == nullptr || spa_format_video_parse(format, &info) < 0) {
        return std::nullopt;
    }
    AgreedPictures agreed;
    media::PictureFormat& pictures = agreed.format;
    if (info.media_subtype == SPA_MEDIA_SUBTYPE_mjpg) {
        pictures.coding = media::PictureFormat::Coding::motionJpeg;
        pictures.width = static_cast<int>(info.info.mjpg.size.width);
        pictures.height = static_cast<int>(info.info.mjpg.size.height);
        agreed.name = "MJPEG";
        agreed.rate = rateFrom(info.info.mjpg.framerate);
        return agreed;
    }
    const spa_video_info_raw& raw = info.info.raw;
    const PixelFormatName* const name =
        info.media_subtype == SPA_MEDIA_SUBTYPE_raw ? pixelFormat(raw.format) : nullptr;
    if (name == nullptr || raw.size.width > largest.width || raw.size.height > largest.height) {
        return std::nullopt;
    }
    pictures.width = static_cast<int>(raw.size.width);
    pictures.height = static_cast<int>(raw.size.height);
    pictures.pixelAspectNumerator = static_cast<int>(std::min(raw.pixel_aspect_ratio.num, 10'000U));
    pictures.pixelAspectDenominator =
        static_cast<int>(std::min(raw.pixel_aspect_ratio.denom, 10'000U));
    pictures.pixelFormat = name->ffmpeg;
    pictures.swappedChroma = name->swappedChroma;
    pictures.colorSpace = colorSpaceOf(raw.color_matrix);
    pictures.fullRange = raw.color_range == SPA_VIDEO_COLOR_RANGE_0_255;
    const char* const shortName = spa_debug_type_find_short_name(spa_type_video_format, raw.format);
    agreed.name = shortName != nullptr ? shortName : "raw";
    agreed.rate = rateFrom(raw.framerate);
    return agreed;
}

} // namespace brindle::pipewire
