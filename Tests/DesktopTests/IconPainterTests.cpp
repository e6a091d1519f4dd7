#include "BrindleRecorderLinux/Qt/IconPainter.hpp"

#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"

#include <QColor>
#include <QPainter>
#include <QPoint>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace brindle {
namespace {

QColor at(const QImage& picture, double xInPoints, double yInPoints) {
    const double scale = picture.width() / 18.0;
    return picture.pixelColor(
        static_cast<int>(xInPoints * scale), static_cast<int>(yInPoints * scale));
}

QImage paint(
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
    const QImage picture = paint(MenuBarIconState::idle(), GetParam());
    EXPECT_EQ(picture.width(), GetParam());
    EXPECT_EQ(picture.height(), GetParam());
    for (const Spot& spot : {knob, hub, hand, ringAtTheLeft}) {
        const QColor found = at(picture, spot.x, spot.y);
        // The hand is thinner than two pixels at the smallest size.
        EXPECT_LT(found.lightness(), 110) << spot.x << ", " << spot.y;
        EXPECT_EQ(found.alpha(), 255) << spot.x << ", " << spot.y;
    }
    for (const Spot& spot : {insideTheRing, corner}) {
        EXPECT_EQ(at(picture, spot.x, spot.y).alpha(), 0) << spot.x << ", " << spot.y;
    }
    EXPECT_GT(at(picture, gapBesideTheKnob.x, gapBesideTheKnob.y).lightness(), 100);
}

TEST_P(IconPainterTest, IsWhiteUnderTheDarkScheme) {
    const QImage picture = paint(MenuBarIconState::idle(), GetParam(), 0, Appearance::dark);
    EXPECT_GT(at(picture, hub.x, hub.y).lightness(), 240);
    EXPECT_EQ(at(picture, hub.x, hub.y).alpha(), 255);
}

TEST_P(IconPainterTest, TheDotTellsTheState) {
    const auto dotOf = [&](const MenuBarIconState& state) {
        return at(paint(state, GetParam()), dot.x, dot.y);
    };
    EXPECT_EQ(dotOf(MenuBarIconState::idle()), QColor(142, 142, 147));
    EXPECT_EQ(dotOf(MenuBarIconState::recording()), QColor(52, 199, 89));
    EXPECT_EQ(dotOf(MenuBarIconState::error("x")), QColor(255, 59, 48));
}

TEST_P(IconPainterTest, TheDotPulses) {
    const auto alphaAt = [&](double time) {
        return at(paint(MenuBarIconState::recording(), GetParam(), time), dot.x, dot.y).alphaF();
    };
    EXPECT_NEAR(alphaAt(0), 1.0, 0.01);
    EXPECT_NEAR(alphaAt(0.25), 0.675, 0.01);
    EXPECT_NEAR(alphaAt(0.5), 0.35, 0.01);
}

/// Relative luminance and contrast as the Web Content Accessibility Guidelines define them (2.1).
double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}
double contrast(const QColor& one, const QColor& other) {
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

/// How clearly the stopwatch's ring can be told from the panel where it is the hardest to see.
double weakestPartOfTheRing(const QImage& onPanel, const QColor& panel) {
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
            strongest = std::max(strongest, contrast(at(onPanel, x, y), panel));
        }
        weakest = std::min(weakest, strongest);
    }
    return weakest;
}

class IconOnAPanelTest : public testing::TestWithParam<int> {};

TEST_P(IconOnAPanelTest, CanBeReadOnAnyPanelUnderEitherColourScheme) {
    constexpr double readable = 3; // what the guidelines ask of graphics
    for (const Appearance scheme : {Appearance::light, Appearance::dark}) {
        for (const char* panel :
             {"#ffffff", "#f6f5f4", "#808080", "#31363b", "#1e1e1e", "#000000"}) {
            QImage onPanel{GetParam(), GetParam(), QImage::Format_ARGB32_Premultiplied};
            onPanel.fill(QColor{panel});
            QPainter{&onPanel}.drawImage(
                0, 0, paint(MenuBarIconState::idle(), GetParam(), 0, scheme));
            EXPECT_GE(weakestPartOfTheRing(onPanel, QColor{panel}), readable)
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
                const auto file = QStringLiteral("%1/Tests/DesktopTests/Fixtures/Icon/%2-%3-%4.png")
                                      .arg(
                                          QStringLiteral(BRINDLE_SOURCE_DIR), QLatin1String{name},
                                          appearance == Appearance::dark ? QLatin1String{"dark"}
                                                                         : QLatin1String{"light"})
                                      .arg(pixels);
                const QImage drawn =
                    paint(state, pixels, time, appearance).convertToFormat(QImage::Format_ARGB32);
                if (qEnvironmentVariableIsSet("BRINDLE_DRAW_REFERENCES")) {
                    ASSERT_TRUE(drawn.save(file)) << file.toStdString();
                    continue;
                }
                const QImage reference = QImage{file}.convertToFormat(QImage::Format_ARGB32);
                ASSERT_EQ(reference.size(), drawn.size()) << file.toStdString();
                for (int y = 0; y < pixels; ++y) {
                    for (int x = 0; x < pixels; ++x) {
                        const QColor was = reference.pixelColor(x, y);
                        const QColor is = drawn.pixelColor(x, y);
                        // Another version of the painter may round its edges otherwise.
                        ASSERT_NEAR(was.alpha(), is.alpha(), 4)
                            << file.toStdString() << " at " << x << ", " << y;
                        if (was.alpha() > 32) {
                            ASSERT_NEAR(was.red(), is.red(), 12)
                                << file.toStdString() << " at " << x << ", " << y;
                            ASSERT_NEAR(was.green(), is.green(), 12)
                                << file.toStdString() << " at " << x << ", " << y;
                            ASSERT_NEAR(was.blue(), is.blue(), 12)
                                << file.toStdString() << " at " << x << ", " << y;
                        }
                    }
                }
            }
        }
    }
}

TEST(IconPainter, HasAThinOutlineInTheContrastingColour) {
    for (const Appearance scheme : {Appearance::light, Appearance::dark}) {
        const QImage picture = paint(MenuBarIconState::idle(), 36, 0, scheme);
        const QColor found = at(picture, besideTheRing.x, besideTheRing.y);
        EXPECT_NEAR(found.lightness(), scheme == Appearance::light ? 255 : 0, 30);
        EXPECT_GT(found.alpha(), 40);
        EXPECT_EQ(at(picture, awayFromTheRing.x, awayFromTheRing.y).alpha(), 0);
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
    const QImage picture = IconPainter::paint(image, 20);
    // Cleared in the layer, so that what lies below it shows.
    EXPECT_EQ(picture.pixelColor(10, 10), QColor(Qt::red));
    EXPECT_EQ(picture.pixelColor(2, 10), QColor(Qt::blue));
    EXPECT_EQ(picture.pixelColor(0, 0), QColor(Qt::red));
}

TEST(IconPainter, NothingCanBeDrawnOnNothing) {
    EXPECT_TRUE(paint(MenuBarIconState::idle(), 0).isNull());
    EXPECT_TRUE(IconPainter::paint(IconImage{}, 18).isNull());
}

} // namespace
} // namespace brindle
