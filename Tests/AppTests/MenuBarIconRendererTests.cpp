#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::VariantWith;

const auto idle = MenuBarIconState::idle();
const auto recording = MenuBarIconState::recording();
const auto failed = MenuBarIconState::error("Not enough free disk space.");

constexpr IconColour black{0, 0, 0, 1};
constexpr IconColour white{1, 1, 1, 1};

IconImage draw(
    const MenuBarIconState& state, double time = 0, bool reduceMotion = false,
    Appearance appearance = Appearance::light) {
    return MenuBarIconRenderer::image(state, time, reduceMotion, appearance);
}

IconColour dotColour(const IconImage& image) {
    return std::get<IconImage::FillCircle>(image.operations.back()).colour;
}

TEST(MenuBarIconRenderer, DrawsAStopwatchAndADot) {
    const IconImage image = draw(idle);
    EXPECT_EQ(image.size, 18);
    EXPECT_THAT(
        image.operations,
        ElementsAre(
            VariantWith<IconImage::BeginLayer>(
                IconImage::BeginLayer{{-1.3529, -1.45}, 11.0 / 34.0}),
            VariantWith<IconImage::StrokeCircle>(
                IconImage::StrokeCircle{{12, 15, 40, 40}, 5.5, black}),
            VariantWith<IconImage::StrokeLine>(
                IconImage::StrokeLine{{32, 35}, {32, 19}, 4.5, black}),
            VariantWith<IconImage::FillCircle>(IconImage::FillCircle{{28.5, 31.5, 7, 7}, black}),
            VariantWith<IconImage::ClearCircle>(IconImage::ClearCircle{{23.8, 6.8, 16.4, 16.4}}),
            VariantWith<IconImage::FillCircle>(IconImage::FillCircle{{26, 9, 12, 12}, black}),
            VariantWith<IconImage::EndLayer>(IconImage::EndLayer{}),
            VariantWith<IconImage::ClearCircle>(IconImage::ClearCircle{{10.25, 10.25, 8.5, 8.5}}),
            VariantWith<IconImage::FillCircle>(
                IconImage::FillCircle{{11.5, 11.5, 6, 6}, dotColour(image)})));
}

TEST(MenuBarIconRenderer, TheStopwatchLiesWithinThePictureAndItsCentreOnTheMiddleLine) {
    const auto layer = std::get<IconImage::BeginLayer>(draw(idle).operations.front());
    const auto ring = std::get<IconImage::StrokeCircle>(draw(idle).operations[1]);
    const auto x = [&](double unit) {
        return layer.translation.x + layer.scale * unit;
    };
    const auto y = [&](double unit) {
        return layer.translation.y + layer.scale * unit;
    };
    EXPECT_NEAR(x(ring.rect.x + ring.rect.width / 2), 9, 0.001);
    EXPECT_GT(x(ring.rect.x - ring.lineWidth / 2), 0);
    EXPECT_GT(y(9), 0) << "the knob's upper edge";
    EXPECT_LT(y(ring.rect.y + ring.rect.height + ring.lineWidth / 2), 18);
}

TEST(MenuBarIconRenderer, TheGlyphIsWhiteInADarkPanelAndBlackInALightOne) {
    const auto glyphColours = [](Appearance appearance) {
        const auto operations = draw(idle, 0, false, appearance).operations;
        return std::vector<IconColour>{
            std::get<IconImage::StrokeCircle>(operations[1]).colour,
            std::get<IconImage::StrokeLine>(operations[2]).colour,
            std::get<IconImage::FillCircle>(operations[3]).colour,
            std::get<IconImage::FillCircle>(operations[5]).colour};
    };
    EXPECT_THAT(glyphColours(Appearance::dark), testing::Each(white));
    EXPECT_THAT(glyphColours(Appearance::light), testing::Each(black));
}

TEST(MenuBarIconRenderer, TheDotTellsTheStateInItsColour) {
    const IconColour grey = dotColour(draw(idle));
    const IconColour green = dotColour(draw(recording));
    const IconColour red = dotColour(draw(failed));
    EXPECT_NEAR(grey.red, grey.green, 0.03);
    EXPECT_NEAR(grey.green, grey.blue, 0.03);
    EXPECT_GT(green.green, 2 * green.red);
    EXPECT_GT(green.green, 2 * green.blue);
    EXPECT_GT(red.red, 2 * red.green);
    EXPECT_GT(red.red, 2 * red.blue);
    EXPECT_EQ(grey.alpha, 1);
    EXPECT_EQ(red.alpha, 1);
}

TEST(MenuBarIconRenderer, TheRecordingDotPulsesOnceASecond) {
    const auto alphaAt = [](double time) {
        return dotColour(draw(recording, time)).alpha;
    };
    EXPECT_NEAR(alphaAt(0), 1.0, 1e-9);
    EXPECT_NEAR(alphaAt(0.25), 0.675, 1e-9);
    EXPECT_NEAR(alphaAt(0.5), 0.35, 1e-9);
    EXPECT_NEAR(alphaAt(0.75), 0.675, 1e-9);
    EXPECT_NEAR(alphaAt(1), 1.0, 1e-9);
    EXPECT_NEAR(alphaAt(1'773'480'612.5), 0.35, 1e-6) << "as exact after many years";
    EXPECT_NEAR(alphaAt(-0.5), 0.35, 1e-9) << "and before the epoch";
}

TEST(MenuBarIconRenderer, OnlyTheRecordingDotPulses) {
    EXPECT_EQ(draw(idle, 0), draw(idle, 0.5));
    EXPECT_EQ(draw(failed, 0), draw(failed, 0.5));
    EXPECT_NE(draw(recording, 0), draw(recording, 0.5));
}

TEST(MenuBarIconRenderer, WithReducedMotionTheDotIsSteady) {
    EXPECT_EQ(dotColour(draw(recording, 0.5, true)), dotColour(draw(recording, 0)))
        << "the same green, at its fullest";
    EXPECT_EQ(dotColour(draw(recording, 0.5, true)).alpha, 1);
    EXPECT_EQ(draw(recording, 0.5, true), draw(recording, 0.25, true));
}

TEST(MenuBarIconRenderer, DescribesItselfToThoseWhoDoNotSeeIt) {
    EXPECT_EQ(draw(idle).accessibilityDescription, "Brindle Recorder: idle");
    EXPECT_EQ(draw(recording).accessibilityDescription, "Brindle Recorder: recording");
    EXPECT_EQ(
        draw(failed).accessibilityDescription,
        "Brindle Recorder: error, Not enough free disk space.");
}

} // namespace
} // namespace brindle
