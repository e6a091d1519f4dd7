#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"
#include "LinuxTests/IconPng.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <ostream>
#include <string>
#include <vector>

namespace brindle {
namespace {

/// Not premultiplied; each part from 0 to 255.
struct Pixel {
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 255;

    /// From 0 to 255: half-way between the strongest colour and the weakest.
    [[nodiscard]] int lightness() const {
        return (std::max({red, green, blue}) + std::min({red, green, blue})) / 2;
    }
    friend bool operator==(const Pixel&, const Pixel&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
        return stream << pixel.red << ' ' << pixel.green << ' ' << pixel.blue << " at "
                      << pixel.alpha;
    }
};
constexpr int opaque = 255;

Pixel pixelOf(const IconPicture& picture, int x, int y) {
    const std::uint8_t* bytes = picture.bytes.data() + (y * picture.side + x) * 4;
    return {.red = bytes[1], .green = bytes[2], .blue = bytes[3], .alpha = bytes[0]};
}

Pixel at(const IconPicture& picture, double xInPoints, double yInPoints) {
    const double scale = picture.side / 18.0;
    return pixelOf(
        picture, static_cast<int>(xInPoints * scale), static_cast<int>(yInPoints * scale));
}

/// As it is seen on a panel of that colour.
Pixel seenOn(const Pixel& panel, const Pixel& pixel) {
    const auto mixed = [&](int above, int below) {
        return (above * pixel.alpha + below * (opaque - pixel.alpha) + opaque / 2) / opaque;
    };
    return {
        .red = mixed(pixel.red, panel.red),
        .green = mixed(pixel.green, panel.green),
        .blue = mixed(pixel.blue, panel.blue)};
}

IconPicture paint(
    const MenuBarIconState& state, int pixels, double time = 0,
    Appearance appearance = Appearance::light) {
    return IconPainter::paint(
        MenuBarIconRenderer::image(state, time, /*reduceMotion=*/false, appearance), pixels);
}

// The points of the picture that tell its parts apart.
struct Spot {
    double x;
    double y;
};
constexpr Spot knob{9.0, 3.4};
constexpr Spot gapBesideTheKnob{6.75, 3.8};
constexpr Spot hub{9.0, 9.9};
constexpr Spot hand{9.0, 6.6};
constexpr Spot insideTheRing{6.4, 9.9};
constexpr Spot ringAtTheLeft{2.6, 9.9};
constexpr Spot besideTheRing{1.3, 9.9};
constexpr Spot awayFromTheRing{0.4, 9.9};
constexpr Spot dot{14.5, 14.5};
constexpr Spot corner{0.2, 0.2};

class IconPainterTest : public testing::TestWithParam<int> {};

TEST_P(IconPainterTest, DrawsTheStopwatch) {
    const IconPicture picture = paint(MenuBarIconState::idle(), GetParam());
    EXPECT_EQ(picture.side, GetParam());
    EXPECT_EQ(picture.bytes.size(), static_cast<std::size_t>(GetParam() * GetParam() * 4));
    for (const Spot& spot : {knob, hub, hand, ringAtTheLeft}) {
        const Pixel found = at(picture, spot.x, spot.y);
        // The hand is thinner than two pixels at the smallest size.
        EXPECT_LT(found.lightness(), 110) << spot.x << ", " << spot.y;
        EXPECT_EQ(found.alpha, opaque) << spot.x << ", " << spot.y;
    }
    for (const Spot& spot : {insideTheRing, corner}) {
        EXPECT_EQ(at(picture, spot.x, spot.y).alpha, 0) << spot.x << ", " << spot.y;
    }
    EXPECT_GT(at(picture, gapBesideTheKnob.x, gapBesideTheKnob.y).lightness(), 100);
}

TEST_P(IconPainterTest, IsWhiteUnderTheDarkScheme) {
    const IconPicture picture = paint(MenuBarIconState::idle(), GetParam(), 0, Appearance::dark);
    EXPECT_GT(at(picture, hub.x, hub.y).lightness(), 240);
    EXPECT_EQ(at(picture, hub.x, hub.y).alpha, opaque);
}

TEST_P(IconPainterTest, TheDotTellsTheState) {
    const auto dotOf = [&](const MenuBarIconState& state) {
        return at(paint(state, GetParam()), dot.x, dot.y);
    };
    EXPECT_EQ(dotOf(MenuBarIconState::idle()), (Pixel{142, 142, 147}));
    EXPECT_EQ(dotOf(MenuBarIconState::recording()), (Pixel{52, 199, 89}));
    EXPECT_EQ(dotOf(MenuBarIconState::error("x")), (Pixel{255, 59, 48}));
}

TEST_P(IconPainterTest, TheDotPulses) {
    const auto alphaAt = [&](double time) {
        return at(paint(MenuBarIconState::recording(), GetParam(), time), dot.x, dot.y).alpha /
               double{opaque};
    };
    EXPECT_NEAR(alphaAt(0), 1.0, 0.01);
    EXPECT_NEAR(alphaAt(0.25), 0.675, 0.01);
    EXPECT_NEAR(alphaAt(0.5), 0.35, 0.01);
}

/// Relative luminance and contrast as the Web Content Accessibility Guidelines define them (2.1).
double luminance(const Pixel& colour) {
    const auto linear = [](int byte) {
        const double part = byte / double{opaque};
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.red) + 0.7152 * linear(colour.green) +
           0.0722 * linear(colour.blue);
}
double contrast(const Pixel& one, const Pixel& other) {
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

/// How clearly the stopwatch's ring can be told from the panel where it is the hardest to see.
double weakestPartOfTheRing(const IconPicture& picture, const Pixel& panel) {
    constexpr double centreX = 9.0;
    constexpr double centreY = 9.87;
    constexpr double wholeTurn = 360;
    double weakest = std::numeric_limits<double>::max();
    // From above, clockwise. The knob stands at the top, the dot at the lower right.
    for (int degrees = 35; degrees <= 325; degrees += 5) {
        if (degrees > 85 && degrees < 175) {
            continue;
        }
        const double angle = degrees / wholeTurn * 2 * std::numbers::pi;
        double strongest = 0;
        for (double radius = 4.5; radius < 8.0; radius += 0.1) {
            const double x = centreX + radius * std::sin(angle);
            const double y = centreY - radius * std::cos(angle);
            strongest = std::max(strongest, contrast(seenOn(panel, at(picture, x, y)), panel));
        }
        weakest = std::min(weakest, strongest);
    }
    return weakest;
}

class IconOnAPanelTest : public testing::TestWithParam<int> {};

TEST_P(IconOnAPanelTest, CanBeReadOnAnyPanelUnderEitherColourScheme) {
    constexpr double readable = 3; // what the guidelines ask of graphics
    for (const Appearance scheme : {Appearance::light, Appearance::dark}) {
        const IconPicture picture = paint(MenuBarIconState::idle(), GetParam(), 0, scheme);
        for (const Pixel& panel :
             {Pixel{0xff, 0xff, 0xff}, Pixel{0xf6, 0xf5, 0xf4}, Pixel{0x80, 0x80, 0x80},
              Pixel{0x31, 0x36, 0x3b}, Pixel{0x1e, 0x1e, 0x1e}, Pixel{0, 0, 0}}) {
            EXPECT_GE(weakestPartOfTheRing(picture, panel), readable)
                << panel << (scheme == Appearance::dark ? ", dark scheme" : ", light scheme");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    SizesOfPanels, IconOnAPanelTest, testing::Values(16, 18, 22, 24, 32, 36, 44, 48, 64));

INSTANTIATE_TEST_SUITE_P(OneAndTwoPixelsAPoint, IconPainterTest, testing::Values(18, 36, 64));

/// One state at one moment, under the name of its reference.
struct Reference {
    const char* name;
    MenuBarIconState state;
    double time;
};

/// The pictures as they were looked at and found right; scripts/icon-references draws them anew.
TEST(IconPainter, LooksAsItDidWhenItWasLookedAt) {
    const Reference references[] = {
        {"idle", MenuBarIconState::idle(), 0},
        {"recording-0.00", MenuBarIconState::recording(), 0},
        {"recording-0.25", MenuBarIconState::recording(), 0.25},
        {"recording-0.50", MenuBarIconState::recording(), 0.5},
        {"error", MenuBarIconState::error("x"), 0}};
    for (const auto& [name, state, time] : references) {
        for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
            for (const int pixels : {18, 36}) {
                const std::string file = std::string{BRINDLE_FIXTURES "/Icon/"} + name +
                                         (appearance == Appearance::dark ? "-dark-" : "-light-") +
                                         std::to_string(pixels) + ".png";
                const IconPicture drawn = paint(state, pixels, time, appearance);
                if (std::getenv("BRINDLE_DRAW_REFERENCES") != nullptr) {
                    test::writePng(drawn, file);
                    continue;
                }
                const IconPicture reference = test::readPng(file);
                ASSERT_EQ(reference.side, drawn.side) << file;
                for (int y = 0; y < pixels; ++y) {
                    for (int x = 0; x < pixels; ++x) {
                        const Pixel was = pixelOf(reference, x, y);
                        const Pixel is = pixelOf(drawn, x, y);
                        // Another version of the painter may round its edges otherwise.
                        ASSERT_NEAR(was.alpha, is.alpha, 4) << file << " at " << x << ", " << y;
                        if (was.alpha > 32) {
                            ASSERT_NEAR(was.red, is.red, 12) << file << " at " << x << ", " << y;
                            ASSERT_NEAR(was.green, is.green, 12)
                                << file << " at " << x << ", " << y;
                            ASSERT_NEAR(was.blue, is.blue, 12) << file << " at " << x << ", " << y;
                        }
                    }
                }
            }
        }
    }
}

TEST(IconPainter, HasAThinOutlineInTheContrastingColour) {
    for (const Appearance scheme : {Appearance::light, Appearance::dark}) {
        const IconPicture picture = paint(MenuBarIconState::idle(), 36, 0, scheme);
        const Pixel found = at(picture, besideTheRing.x, besideTheRing.y);
        EXPECT_NEAR(found.lightness(), scheme == Appearance::light ? 255 : 0, 30);
        EXPECT_GT(found.alpha, 40);
        EXPECT_EQ(at(picture, awayFromTheRing.x, awayFromTheRing.y).alpha, 0);
    }
}

TEST(IconPainter, ALayerIsLaidOverWhatWasThere) {
    const IconImage image{
        .size = 10,
        .operations =
            {IconImage::FillCircle{{-10, -10, 30, 30}, {1, 0, 0, 1}},
             IconImage::BeginLayer{{0, 0}, 1}, IconImage::FillCircle{{0, 0, 10, 10}, {0, 0, 1, 1}},
             IconImage::ClearCircle{{2, 2, 6, 6}}, IconImage::EndLayer{}},
        .accessibilityDescription = {}};
    const IconPicture picture = IconPainter::paint(image, 20);
    // Cleared in the layer, so that what lies below it shows.
    EXPECT_EQ(pixelOf(picture, 10, 10), (Pixel{255, 0, 0}));
    EXPECT_EQ(pixelOf(picture, 2, 10), (Pixel{0, 0, 255}));
    EXPECT_EQ(pixelOf(picture, 0, 0), (Pixel{255, 0, 0}));
}

TEST(IconPainter, APixelIsAlphaRedGreenBlueAndNotPremultiplied) {
    const IconImage image{
        .size = 1,
        .operations = {IconImage::FillCircle{{-5, -5, 10, 10}, {1, 0.5, 0, 0.5}}},
        .accessibilityDescription = {}};
    const IconPicture picture = IconPainter::paint(image, 1);
    ASSERT_EQ(picture.bytes.size(), 4U);
    EXPECT_NEAR(picture.bytes[0], 128, 1);
    EXPECT_EQ(picture.bytes[1], 255);
    EXPECT_NEAR(picture.bytes[2], 128, 1);
    EXPECT_EQ(picture.bytes[3], 0);
}

TEST(IconPainter, NothingCanBeDrawnOnNothing) {
    EXPECT_EQ(paint(MenuBarIconState::idle(), 0), IconPicture{});
    EXPECT_EQ(IconPainter::paint(IconImage{}, 18), IconPicture{});
}

} // namespace
} // namespace brindle
