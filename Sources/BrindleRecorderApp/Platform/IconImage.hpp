// A small picture as a list of drawing steps, for any toolkit to carry out.
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace brindle {

/// Straight (not premultiplied) sRGB; each part from 0 to 1.
struct IconColour {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const IconColour&, const IconColour&) = default;
};

/// x grows to the right, y downwards.
struct IconPoint {
    double x = 0;
    double y = 0;
    friend bool operator==(const IconPoint&, const IconPoint&) = default;
};

/// By its upper left corner. A circle is given as the rectangle that it fills.
struct IconRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    /// Larger by `margin` on every side.
    [[nodiscard]] IconRect grownBy(double margin) const {
        return {x - margin, y - margin, width + 2 * margin, height + 2 * margin};
    }
    friend bool operator==(const IconRect&, const IconRect&) = default;
};

/// Everything is drawn with smooth edges, lines with square ends at their end points.
struct IconImage {
    /// From here to the matching `EndLayer` is drawn into a transparent layer of its own, which is
    /// then laid over what was there. A point p of the layer lies at `translation + scale * p`.
    struct BeginLayer {
        IconPoint translation;
        double scale = 1;
        friend bool operator==(const BeginLayer&, const BeginLayer&) = default;
    };
    struct EndLayer {
        friend bool operator==(const EndLayer&, const EndLayer&) = default;
    };
    struct StrokeCircle {
        IconRect rect;
        double lineWidth = 1; ///< half of it to either side of the circle
        IconColour colour;
        friend bool operator==(const StrokeCircle&, const StrokeCircle&) = default;
    };
    struct StrokeLine {
        IconPoint from;
        IconPoint to;
        double lineWidth = 1;
        IconColour colour;
        friend bool operator==(const StrokeLine&, const StrokeLine&) = default;
    };
    struct FillCircle {
        IconRect rect;
        IconColour colour;
        friend bool operator==(const FillCircle&, const FillCircle&) = default;
    };
    /// Makes the disc transparent again: in the layer, or outside of layers in the whole image.
    struct ClearCircle {
        IconRect rect;
        friend bool operator==(const ClearCircle&, const ClearCircle&) = default;
    };
    using Operation =
        std::variant<BeginLayer, EndLayer, StrokeCircle, StrokeLine, FillCircle, ClearCircle>;

    double size = 0; ///< width and height, in points
    std::vector<Operation> operations;
    std::string accessibilityDescription; ///< for people who do not see it

    friend bool operator==(const IconImage&, const IconImage&) = default;
};

} // namespace brindle
