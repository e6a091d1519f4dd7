#include "BrindleRecorderLinux/Capture/Record/PictureConverter.hpp"

#include "SyntheticMedia.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace brindle::media {
namespace {

using test::greyPicture;

constexpr int black = 16;

int luma(const AVFrame& frame, int x, int y) {
    return frame.data[0][y * frame.linesize[0] + x];
}

std::array<int, 3> colorAt(const AVFrame& frame, int x, int y) {
    return {
        luma(frame, x, y), frame.data[1][y / 2 * frame.linesize[1] + x / 2],
        frame.data[2][y / 2 * frame.linesize[2] + x / 2]};
}

/// A picture that is one colour all over, in a format with 8 bits a channel: each plane is filled
/// with a repeated pattern.
CapturedPicture
filledPicture(AVPixelFormat format, const std::vector<std::vector<std::uint8_t>>& patterns) {
    constexpr int width = 64;
    constexpr int height = 36;
    CapturedPicture picture{
        .format = {.width = width, .height = height, .pixelFormat = format},
        .strides = {},
        .bytes = {}};
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
    for (std::size_t plane = 0; plane < patterns.size(); ++plane) {
        const bool halved = plane > 0 && description->log2_chroma_h > 0;
        int stride = width * static_cast<int>(patterns.size() == 1 ? patterns[0].size() : 1);
        if (patterns.size() == 1 && description->log2_chroma_w > 0) {
            stride = width * 2;
        } else if (plane > 0 && patterns.size() == 3) {
            stride = width >> description->log2_chroma_w;
        }
        picture.strides.at(plane) = stride;
        const int bytes = stride * (halved ? height / 2 : height);
        for (int index = 0; index < bytes; ++index) {
            picture.bytes.push_back(
                patterns[plane][static_cast<std::size_t>(index) % patterns[plane].size()]);
        }
    }
    return picture;
}

TEST(PictureConverter, ShowsTheSameRedWhateverTheFormat) {
    // Pure red, as the old television standard and as RGB has it.
    constexpr std::uint8_t y = 81;
    constexpr std::uint8_t u = 90;
    constexpr std::uint8_t v = 240;
    struct Case {
        AVPixelFormat format;
        std::vector<std::vector<std::uint8_t>> patterns;
    };
    const std::vector<Case> cases{
        {AV_PIX_FMT_YUV420P, {{y}, {u}, {v}}}, {AV_PIX_FMT_YUV422P, {{y}, {u}, {v}}},
        {AV_PIX_FMT_YUV444P, {{y}, {u}, {v}}}, {AV_PIX_FMT_NV12, {{y}, {u, v}}},
        {AV_PIX_FMT_NV21, {{y}, {v, u}}},      {AV_PIX_FMT_YUYV422, {{y, u, y, v}}},
        {AV_PIX_FMT_UYVY422, {{u, y, v, y}}},  {AV_PIX_FMT_YVYU422, {{y, v, y, u}}},
        {AV_PIX_FMT_RGB24, {{255, 0, 0}}},     {AV_PIX_FMT_BGR24, {{0, 0, 255}}},
        {AV_PIX_FMT_RGB0, {{255, 0, 0, 0}}},   {AV_PIX_FMT_BGR0, {{0, 0, 255, 0}}},
        {AV_PIX_FMT_0RGB, {{0, 255, 0, 0}}},   {AV_PIX_FMT_0BGR, {{0, 0, 0, 255}}}};
    for (const Case& given : cases) {
        PictureConverter converter{1920, 1080};
        const AVFrame* const frame = converter.convert(filledPicture(given.format, given.patterns));
        ASSERT_NE(frame, nullptr) << av_get_pix_fmt_name(given.format);
        // Red in the standard that the recording is tagged with.
        const auto color = colorAt(*frame, 960, 540);
        EXPECT_NEAR(color[0], 63, 3) << av_get_pix_fmt_name(given.format);
        EXPECT_NEAR(color[1], 102, 3) << av_get_pix_fmt_name(given.format);
        EXPECT_NEAR(color[2], 240, 3) << av_get_pix_fmt_name(given.format);
    }
}

TEST(PictureConverter, TakesTheChromaPlanesInTheOrderThatTheFormatSays) {
    PictureConverter converter{1920, 1080};
    CapturedPicture picture = filledPicture(AV_PIX_FMT_YUV420P, {{81}, {240}, {90}});
    picture.format.swappedChroma = true;
    EXPECT_NEAR(colorAt(*converter.convert(picture), 960, 540)[2], 240, 3);
}

TEST(PictureConverter, SpreadsFullRangeGreysToTheRecordingsRange) {
    PictureConverter converter{1920, 1080};
    CapturedPicture picture = filledPicture(AV_PIX_FMT_GRAY8, {{255}});
    picture.format.fullRange = true;
    const auto color = colorAt(*converter.convert(picture), 960, 540);
    EXPECT_NEAR(color[0], 235, 2);
    EXPECT_NEAR(color[1], 128, 2);
}

TEST(PictureConverter, PadsWithBlackInsteadOfStretching) {
    PictureConverter converter{1920, 1080};
    const AVFrame* const frame = converter.convert(greyPicture(Moment{}, 200, 640, 480));
    ASSERT_NE(frame, nullptr);
    EXPECT_NEAR(luma(*frame, 960, 540), 200, 2);
    EXPECT_NEAR(luma(*frame, 250, 540), 200, 2);
    EXPECT_NEAR(luma(*frame, 1670, 540), 200, 2);
    EXPECT_EQ(luma(*frame, 230, 540), black);
    EXPECT_EQ(luma(*frame, 1690, 540), black);
}

TEST(PictureConverter, FollowsAChangeOfSizeAndFormatMidWay) {
    PictureConverter converter{1920, 1080};
    ASSERT_NE(converter.convert(greyPicture(Moment{}, 200, 1280, 720)), nullptr);
    const AVFrame* frame = converter.convert(greyPicture(Moment{}, 100, 640, 480));
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(luma(*frame, 100, 540), black) << "nothing of the wider picture is left";
    frame = converter.convert(filledPicture(AV_PIX_FMT_RGB24, {{255, 255, 255}}));
    ASSERT_NE(frame, nullptr);
    EXPECT_NEAR(luma(*frame, 100, 540), 235, 2);
}

TEST(PictureConverter, ReadsLinesThatAreLongerThanThePicture) {
    PictureConverter converter{1920, 1080};
    CapturedPicture picture = filledPicture(AV_PIX_FMT_YUYV422, {{200, 128, 200, 128}});
    // The right half of every line in memory is not part of the picture.
    picture.format.width /= 2;
    for (std::size_t index = 0; index < picture.bytes.size(); ++index) {
        if (index % 128 >= 64) {
            picture.bytes[index] = 0;
        }
    }
    const AVFrame* const frame = converter.convert(picture);
    ASSERT_NE(frame, nullptr);
    EXPECT_NEAR(luma(*frame, 960, 540), 200, 2);
    EXPECT_NEAR(luma(*frame, 1430, 540), 200, 2);
}

TEST(PictureConverter, RefusesWhatWouldBeReadBeyondItsEnd) {
    PictureConverter converter{1920, 1080};
    CapturedPicture shortened = greyPicture(Moment{}, 200);
    shortened.bytes.resize(shortened.bytes.size() - 1);
    EXPECT_EQ(converter.convert(shortened), nullptr);
    CapturedPicture narrow = greyPicture(Moment{}, 200);
    narrow.strides[0] = 1;
    EXPECT_EQ(converter.convert(narrow), nullptr);
    CapturedPicture huge = greyPicture(Moment{}, 200);
    huge.format.width = 1'000'000;
    EXPECT_EQ(converter.convert(huge), nullptr);
    CapturedPicture unknown = greyPicture(Moment{}, 200);
    unknown.format.pixelFormat = AV_PIX_FMT_NONE;
    EXPECT_EQ(converter.convert(unknown), nullptr);
}

TEST(PictureConverter, DecodesMotionJpegAndSurvivesDamage) {
    PictureConverter converter{1920, 1080};
    CapturedPicture picture;
    picture.format.coding = PictureFormat::Coding::motionJpeg;
    picture.bytes = test::whiteJpeg(64, 36);
    for (int repetition = 0; repetition < 3; ++repetition) {
        const AVFrame* const frame = converter.convert(picture);
        ASSERT_NE(frame, nullptr);
        EXPECT_NEAR(luma(*frame, 960, 540), 235, 2);
        CapturedPicture damaged = picture;
        damaged.bytes.assign(1000, 0xff);
        EXPECT_EQ(converter.convert(damaged), nullptr);
    }
}

} // namespace
} // namespace brindle::media
