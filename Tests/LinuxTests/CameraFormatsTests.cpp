#include "BrindleRecorderLinux/Capture/Streams/CameraFormats.hpp"

#include <gtest/gtest.h>

#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace brindle::pipewire {
namespace {

using Coding = media::PictureFormat::Coding;

constexpr WantedPictures fullHD{.width = 1920, .height = 1080, .frameRate = 30};

OfferedFormat raw(int width, int height, double rate) {
    return {
        .coding = Coding::raw,
        .rawFormat = SPA_VIDEO_FORMAT_YUY2,
        .width = width,
        .height = height,
        .frameRate = rate};
}

OfferedFormat motionJpeg(int width, int height, double rate) {
    return {.coding = Coding::motionJpeg, .width = width, .height = height, .frameRate = rate};
}

TEST(CameraFormats, ChooseEnoughPicturesThenEnoughPixelsThenUncompressedOnes) {
    struct Case {
        const char* what;
        std::vector<OfferedFormat> offers;
        OfferedFormat best;
    };
    for (const Case& given :
         {Case{
              "compressed but fluent",
              {raw(1920, 1080, 5), motionJpeg(1920, 1080, 30)},
              motionJpeg(1920, 1080, 30)},
          Case{"fluent before large", {raw(1920, 1080, 10), raw(640, 480, 30)}, raw(640, 480, 30)},
          Case{
              "large before uncompressed",
              {raw(1280, 720, 30), motionJpeg(1920, 1080, 30)},
              motionJpeg(1920, 1080, 30)},
          Case{
              "uncompressed at the same size",
              {motionJpeg(1280, 720, 30), raw(1280, 720, 30)},
              raw(1280, 720, 30)},
          Case{
              "no more pixels than can be used",
              {raw(3840, 2160, 30), raw(1920, 1080, 30), raw(640, 480, 30)},
              raw(1920, 1080, 30)},
          Case{
              "television rates are as good",
              {raw(1920, 1080, 29.97), raw(640, 480, 30)},
              raw(1920, 1080, 29.97)},
          Case{
              "the fastest of slow ones",
              {raw(1920, 1080, 5), raw(1280, 720, 10)},
              raw(1280, 720, 10)}}) {
        EXPECT_EQ(bestFormat(given.offers, fullHD), given.best) << given.what;
    }
    EXPECT_FALSE(bestFormat({}, fullHD));
}

TEST(CameraFormats, AreReadWithTheirAlternatives) {
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_rectangle size{1280, 720};
    const spa_fraction five{5, 1};
    const spa_fraction thirty{30, 1};
    const spa_fraction sixty{60, 1};
    void* const pod = spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(
            4, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_YUY2, SPA_VIDEO_FORMAT_NV12,
            SPA_VIDEO_FORMAT_v210),
        SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate,
        SPA_POD_CHOICE_ENUM_Fraction(4, &five, &five, &sixty, &thirty));
    const auto offers = offeredFormats(static_cast<const spa_pod*>(pod), fullHD);
    ASSERT_EQ(offers.size(), 2U) << "the third we cannot read";
    EXPECT_EQ(offers[0], raw(1280, 720, 30));
    EXPECT_EQ(offers[1].rawFormat, static_cast<std::uint32_t>(SPA_VIDEO_FORMAT_NV12));
}

TEST(CameraFormats, OfSoundAndOfNothingAreNone) {
    EXPECT_TRUE(offeredFormats(nullptr, fullHD).empty());
    EXPECT_FALSE(agreedPictureFormat(nullptr));
}

TEST(CameraFormats, AreAskedForFirstAsChosenThenAnyThatWeRead) {
    std::vector<std::uint8_t> memory;
    const auto pods = cameraFormatRequest(raw(1280, 720, 30), fullHD, memory);
    ASSERT_EQ(pods.size(), 3U);
    const auto first = offeredFormats(pods[0], fullHD);
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0], raw(1280, 720, 30));
    EXPECT_GT(offeredFormats(pods[1], fullHD).size(), 15U);
    const auto last = offeredFormats(pods[2], fullHD);
    ASSERT_EQ(last.size(), 1U);
    EXPECT_EQ(last[0].coding, Coding::motionJpeg);
    EXPECT_EQ(cameraFormatRequest(std::nullopt, fullHD, memory).size(), 2U);
}

TEST(CameraFormats, AreAskedForOnlyWhereTheirPicturesCanBeConverted) {
    std::vector<std::uint8_t> memory;
    const auto pods = cameraFormatRequest(std::nullopt, fullHD, memory);
    for (const OfferedFormat& offer : offeredFormats(pods.front(), fullHD)) {
        std::vector<std::uint8_t> own;
        const auto agreed = agreedPictureFormat(cameraFormatRequest(offer, fullHD, own).front());
        ASSERT_TRUE(agreed) << offer.rawFormat;
        EXPECT_NE(sws_isSupportedInput(agreed->pixelFormat), 0)
            << av_get_pix_fmt_name(agreed->pixelFormat);
    }
}

} // namespace
} // namespace brindle::pipewire
