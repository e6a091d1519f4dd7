#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"

#include "BrindleRecorderApp/Words/StatusText.hpp"

#include <cmath>
#include <numbers>

namespace brindle {

namespace {

constexpr IconColour black{0, 0, 0, 1};
constexpr IconColour white{1, 1, 1, 1};
constexpr IconColour grey{142 / 255.0, 142 / 255.0, 147 / 255.0, 1};
constexpr IconColour green{52 / 255.0, 199 / 255.0, 89 / 255.0, 1};
constexpr IconColour red{255 / 255.0, 59 / 255.0, 48 / 255.0, 1};

constexpr double imageSize = 18; // points

// The stopwatch, on a grid of 64 units.
constexpr IconImage::BeginLayer grid{{-1.3529, -1.45}, 11.0 / 34.0};
constexpr IconRect ring{12, 15, 40, 40};
constexpr double ringWidth = 5.5;
constexpr IconPoint centre{32, 35};
constexpr IconPoint handTip{32, 19};
constexpr double handWidth = 4.5;
constexpr IconRect hub{28.5, 31.5, 7, 7};
constexpr IconRect knob{26, 9, 12, 12};
constexpr IconRect aroundKnob{23.8, 6.8, 16.4, 16.4};

// The dot, in points, in the lower right corner.
constexpr IconRect dot{11.5, 11.5, 6, 6};
constexpr double dotMargin = 1.25;

double pulse(double time) {
    // The whole seconds would only cost precision.
    const double phase = time - std::floor(time);
    return 0.675 + 0.325 * std::cos(2 * std::numbers::pi * phase);
}

IconColour dotColour(const MenuBarIconState& state, double time, bool reduceMotion) {
    if (state.isRecording()) {
        IconColour colour = green;
        colour.alpha = reduceMotion ? 1.0 : pulse(time);
        return colour;
    }
    return state.isIdle() ? grey : red;
}

} // namespace

IconImage MenuBarIconRenderer::image(
    const MenuBarIconState& state, double time, bool reduceMotion, Appearance appearance) {
    const IconColour glyph = appearance == Appearance::dark ? white : black;
    return {
        .size = imageSize,
        .operations =
            {
                grid,
                IconImage::StrokeCircle{ring, ringWidth, glyph},
                IconImage::StrokeLine{centre, handTip, handWidth, glyph},
                IconImage::FillCircle{hub, glyph},
                IconImage::ClearCircle{aroundKnob},
                IconImage::FillCircle{knob, glyph},
                IconImage::EndLayer{},
                IconImage::ClearCircle{dot.grownBy(dotMargin)},
                IconImage::FillCircle{dot, dotColour(state, time, reduceMotion)},
            },
        .accessibilityDescription = accessibilityDescription(state),
    };
}

std::string MenuBarIconRenderer::accessibilityDescription(const MenuBarIconState& state) {
    if (const auto* message = state.errorMessage()) {
        return StatusText::iconError(*message);
    }
    return state.isRecording() ? StatusText::iconRecording() : StatusText::iconIdle();
}

} // namespace brindle
