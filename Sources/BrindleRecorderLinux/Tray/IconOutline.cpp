#include "BrindleRecorderLinux/Tray/IconOutline.hpp"

#include <cmath>
#include <variant>
#include <vector>

namespace brindle {

namespace {

IconColour contrasting(const IconColour& colour) {
    constexpr double half = 0.5;
    const double brightness = (colour.red + colour.green + colour.blue) / 3;
    const double part = brightness < half ? 1 : 0;
    return {part, part, part, colour.alpha};
}

/// The line with its ends that much further out.
IconImage::StrokeLine lengthened(IconImage::StrokeLine line, double by) {
    const double x = line.to.x - line.from.x;
    const double y = line.to.y - line.from.y;
    const double length = std::hypot(x, y);
    if (length > 0) {
        line.from = {line.from.x - x / length * by, line.from.y - y / length * by};
        line.to = {line.to.x + x / length * by, line.to.y + y / length * by};
    }
    return line;
}

/// Draws each step of a layer larger, in the contrasting colour.
class Grower {
  public:
    IconImage::Operation operator()(const IconImage::BeginLayer& layer) {
        scales_.push_back(scale() * layer.scale);
        return layer;
    }
    IconImage::Operation operator()(const IconImage::EndLayer& layer) {
        scales_.pop_back();
        return layer;
    }
    IconImage::Operation operator()(IconImage::StrokeCircle circle) const {
        circle.lineWidth += 2 * margin();
        circle.colour = contrasting(circle.colour);
        return circle;
    }
    IconImage::Operation operator()(IconImage::StrokeLine line) const {
        line = lengthened(line, margin());
        line.lineWidth += 2 * margin();
        line.colour = contrasting(line.colour);
        return line;
    }
    IconImage::Operation operator()(IconImage::FillCircle circle) const {
        circle.rect = circle.rect.grownBy(margin());
        circle.colour = contrasting(circle.colour);
        return circle;
    }
    IconImage::Operation operator()(IconImage::ClearCircle circle) const {
        circle.rect = circle.rect.grownBy(-margin());
        return circle;
    }

    /// Whether every layer has ended.
    [[nodiscard]] bool isOutside() const { return scales_.empty(); }

  private:
    [[nodiscard]] double scale() const { return scales_.empty() ? 1 : scales_.back(); }
    /// In the units of the layer.
    [[nodiscard]] double margin() const { return IconOutline::width / scale(); }

    std::vector<double> scales_; ///< of the layers, the innermost last
};

using Operations = std::vector<IconImage::Operation>;
using Place = Operations::const_iterator;

/// Lays the layer that begins there over its outline; returns the place behind it.
Place addLayer(Place place, Place end, Operations& result) {
    Grower grower;
    const Place begin = place;
    do {
        result.push_back(std::visit(grower, *place++));
    } while (place != end && !grower.isOutside());
    result.insert(result.end(), begin, place);
    return place;
}

} // namespace

IconImage IconOutline::around(const IconImage& image) {
    IconImage result = image;
    result.operations.clear();
    for (Place place = image.operations.begin(); place != image.operations.end();) {
        if (std::holds_alternative<IconImage::BeginLayer>(*place)) {
            place = addLayer(place, image.operations.end(), result.operations);
        } else {
            result.operations.push_back(*place++);
        }
    }
    return result;
}

} // namespace brindle
