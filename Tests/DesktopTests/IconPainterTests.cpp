#include "BrindleRecorderLinux/Qt/IconPainter.hpp"

#include "BrindleRecorderApp/MenuBarIconRenderer.hpp"

#include <QColor>
#include <QPoint>
#include <gtest/gtest.h>

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
constexpr Spot dot{14.5, 14.5};
constexpr Spot corner{0.2, 0.2};

class IconPainterTest : public testing::TestWithParam<int> {};

TEST_P(IconPainterTest, DrawsTheStopwatch) {
    const QImage picture = paint(MenuBarIconState::idle(), GetParam());
    EXPECT_EQ(picture.width(), GetParam());
    EXPECT_EQ(picture.height(), GetParam());
    for (const Spot& spot : {knob, hub, hand, ringAtTheLeft}) {
        const QColor found = at(picture, spot.x, spot.y);
        EXPECT_EQ(found.rgb(), QColor(Qt::black).rgb()) << spot.x << ", " << spot.y;
        // The hand is thinner than two pixels at the smallest size.
        EXPECT_GT(found.alpha(), 150) << spot.x << ", " << spot.y;
    }
    for (const Spot& spot : {insideTheRing, corner}) {
        EXPECT_EQ(at(picture, spot.x, spot.y).alpha(), 0) << spot.x << ", " << spot.y;
    }
    EXPECT_LT(at(picture, gapBesideTheKnob.x, gapBesideTheKnob.y).alpha(), 150);
}

TEST_P(IconPainterTest, IsWhiteOnADarkPanel) {
    const QImage picture = paint(MenuBarIconState::idle(), GetParam(), 0, Appearance::dark);
    EXPECT_EQ(at(picture, hub.x, hub.y).rgb(), QColor(Qt::white).rgb());
    EXPECT_GT(at(picture, hub.x, hub.y).alpha(), 240);
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
