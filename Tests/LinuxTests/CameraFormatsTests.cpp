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

OfferedFormat raw(int width, int height, PictureRate rate) {
    return {
        .coding = Coding::raw,
        .rawFormat = SPA_VIDEO_FORMAT_YUY2,
        .width = width,
        .height = height,
        .rate = rate};
}
OfferedFormat raw(int width, int height, std::uint32_t rate) {
    return raw(width, height, PictureRate{rate, 1});
}

OfferedFormat motionJpeg(int width, int height, std::uint32_t rate) {
    return {.coding = Coding::motionJpeg, .width = width, .height = height, .rate = {rate, 1}};
}

constexpr PictureRate television{30'000, 1001};

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
              {raw(1920, 1080, television), raw(640, 480, 30)},
              raw(1920, 1080, television)},
          Case{
              "the fastest of slow ones",
              {raw(1920, 1080, 5), raw(1280, 720, 10)},
              raw(1280, 720, 10)}}) {
        EXPECT_EQ(bestFirst(given.offers, fullHD).front(), given.best) << given.what;
    }
    EXPECT_TRUE(bestFirst({}, fullHD).empty());
}

TEST(CameraFormats, StandInTheCamerasOrderWhereNothingElseTellsThemApart) {
    OfferedFormat planar = raw(1280, 720, 30);
    planar.rawFormat = SPA_VIDEO_FORMAT_I420;
    const std::vector<OfferedFormat> offers{
        raw(640, 480, 30), planar, raw(1280, 720, 30), motionJpeg(1920, 1080, 30)};
    EXPECT_EQ(
        bestFirst(offers, fullHD),
        (std::vector{motionJpeg(1920, 1080, 30), planar, raw(1280, 720, 30), raw(640, 480, 30)}));
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
    EXPECT_FALSE(agreedPictures(nullptr));
}

/// Whether the property leaves a choice.
bool isChoice(const spa_pod* format, std::uint32_t key) {
    const spa_pod_prop* const property = spa_pod_find_prop(format, nullptr, key);
    return property != nullptr && spa_pod_is_choice(&property->value);
}

TEST(CameraFormats, AreAskedForOneByOneTheBestFirst) {
    std::vector<std::uint8_t> memory;
    const std::vector<OfferedFormat> best{
        motionJpeg(1920, 1080, 30), raw(1280, 720, television), raw(640, 480, 30)};
    const auto pods = cameraFormatRequest(best, fullHD, memory);
    ASSERT_GT(pods.size(), best.size());
    for (std::size_t index = 0; index < best.size(); ++index) {
        const auto asked = offeredFormats(pods[index], fullHD);
        ASSERT_EQ(asked.size(), 1U);
        EXPECT_EQ(asked[0], best[index]) << "to the very numbers of its rate";
        for (const std::uint32_t key :
             {SPA_FORMAT_VIDEO_format, SPA_FORMAT_VIDEO_size, SPA_FORMAT_VIDEO_framerate}) {
            EXPECT_FALSE(isChoice(pods[index], key)) << "nobody else chooses";
        }
    }
}

TEST(CameraFormats, ThatNobodyAnnouncedAreTakenFluentBeforeSlow) {
    std::vector<std::uint8_t> memory;
    std::vector<double> leastRates;
    for (const spa_pod* pod : cameraFormatRequest({}, fullHD, memory)) {
        const spa_pod_prop* const rates =
            spa_pod_find_prop(pod, nullptr, SPA_FORMAT_VIDEO_framerate);
        ASSERT_TRUE(rates);
        std::uint32_t count = 0;
        std::uint32_t choice = 0;
        const void* const values =
            SPA_POD_BODY_CONST(spa_pod_get_values(&rates->value, &count, &choice));
        ASSERT_EQ(choice, static_cast<std::uint32_t>(SPA_CHOICE_Range));
        const auto least = static_cast<const spa_fraction*>(values)[1];
        leastRates.push_back(static_cast<double>(least.num) / least.denom);
    }
    EXPECT_EQ(leastRates, (std::vector<double>{30, 30, 15, 15, 10, 10, 0, 0}));
}

TEST(CameraFormats, AreNoMoreThanAServerTakesInOneGo) {
    std::vector<std::uint8_t> memory;
    const std::vector<OfferedFormat> many(1000, raw(1280, 720, 30));
    EXPECT_LT(cameraFormatRequest(many, fullHD, memory).size(), 32U);
    for (const spa_pod* pod : cameraFormatRequest(many, fullHD, memory)) {
        EXPECT_FALSE(offeredFormats(pod, fullHD).empty());
    }
}

TEST(CameraFormats, OfARangeOfRatesTheWantedOneIsTaken) {
    struct Case {
        const char* what;
        spa_fraction least;
        spa_fraction most;
        PictureRate taken;
    };
    for (const Case& given :
         {Case{"within", {1, 1}, {60, 1}, {30, 1}}, Case{"too slow", {1, 1}, {25, 2}, {25, 2}},
          Case{"too fast", {50, 1}, {60, 1}, {50, 1}}}) {
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), memory.size());
        const spa_rectangle size{1280, 720};
        const void* const pod = spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
            SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
            SPA_POD_Id(SPA_MEDIA_SUBTYPE_mjpg), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
            SPA_FORMAT_VIDEO_framerate,
            SPA_POD_CHOICE_RANGE_Fraction(&given.least, &given.least, &given.most));
        const auto offers = offeredFormats(static_cast<const spa_pod*>(pod), fullHD);
        ASSERT_EQ(offers.size(), 1U);
        EXPECT_EQ(offers[0].rate, given.taken) << given.what;
    }
}

TEST(CameraFormats, AreAskedForOnlyWhereTheirPicturesCanBeConverted) {
    std::vector<std::uint8_t> memory;
    const auto pods = cameraFormatRequest({}, fullHD, memory);
    const auto readable = offeredFormats(pods.front(), fullHD);
    EXPECT_GT(readable.size(), 15U);
    for (const OfferedFormat& offer : readable) {
        std::vector<std::uint8_t> own;
        const auto agreed = agreedPictures(cameraFormatRequest({offer}, fullHD, own).front());
        ASSERT_TRUE(agreed) << offer.rawFormat;
        EXPECT_NE(sws_isSupportedInput(agreed->format.pixelFormat), 0)
            << av_get_pix_fmt_name(agreed->format.pixelFormat);
        EXPECT_NE(agreed->name, "raw") << "it has a name of its own";
    }
}

} // namespace
} // namespace brindle::pipewire
