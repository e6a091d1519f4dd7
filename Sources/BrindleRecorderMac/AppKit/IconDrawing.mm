#include "BrindleRecorderMac/AppKit/IconDrawing.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <utility>
#include <variant>
#include <vector>

namespace brindle {

namespace {

/// A point p of the picture lies at `translation + scale * p` of the canvas.
struct Mapping {
    IconPoint translation;
    double scale = 1;

    [[nodiscard]] Mapping then(const IconImage::BeginLayer& layer) const {
        return {
            {translation.x + scale * layer.translation.x,
             translation.y + scale * layer.translation.y},
            scale * layer.scale};
    }
};

void setColour(const IconColour& colour) {
    [[NSColor colorWithSRGBRed:colour.red green:colour.green blue:colour.blue
                         alpha:colour.alpha] set];
}

/// Draws onto the innermost canvas. AppKit's y grows upwards.
class Drawing {
  public:
    Drawing(double pixels, double pixelsPerPoint) : pixels_{pixels} {
        push({.translation = {}, .scale = pixelsPerPoint});
    }

    void operator()(const IconImage::BeginLayer& layer) { push(mapping().then(layer)); }

    void operator()(const IconImage::EndLayer& /*end*/) {
        if (canvases_.size() > 1) {
            const auto layer = pop();
            [layer.get() drawInRect:all()
                           fromRect:all()
                          operation:NSCompositingOperationSourceOver
                           fraction:1];
        }
    }

    void operator()(const IconImage::StrokeCircle& circle) {
        setColour(circle.colour);
        NSBezierPath* const path = oval(circle.rect);
        [path setLineWidth:circle.lineWidth * mapping().scale];
        [path stroke];
    }

    void operator()(const IconImage::StrokeLine& line) {
        setColour(line.colour);
        NSBezierPath* const path = [NSBezierPath bezierPath];
        [path moveToPoint:point(line.from)];
        [path lineToPoint:point(line.to)];
        [path setLineWidth:line.lineWidth * mapping().scale];
        [path setLineCapStyle:NSLineCapStyleButt];
        [path stroke];
    }

    void operator()(const IconImage::FillCircle& circle) {
        setColour(circle.colour);
        [oval(circle.rect) fill];
    }

    void operator()(const IconImage::ClearCircle& circle) {
        [NSGraphicsContext saveGraphicsState];
        [oval(circle.rect) addClip];
        NSRectFillUsingOperation(rect(circle.rect), NSCompositingOperationClear);
        [NSGraphicsContext restoreGraphicsState];
    }

    Retained<NSImage> finish() {
        while (canvases_.size() > 1) {
            (*this)(IconImage::EndLayer{});
        }
        return pop();
    }

  private:
    struct Canvas {
        Retained<NSImage> image;
        Mapping mapping;
    };

    [[nodiscard]] const Mapping& mapping() const { return canvases_.back().mapping; }
    [[nodiscard]] NSRect all() const { return NSMakeRect(0, 0, pixels_, pixels_); }

    [[nodiscard]] NSPoint point(const IconPoint& point) const {
        const auto& [translation, scale] = mapping();
        return NSMakePoint(
            translation.x + scale * point.x, pixels_ - (translation.y + scale * point.y));
    }

    [[nodiscard]] NSRect rect(const IconRect& rect) const {
        const NSPoint lowerLeft = point({rect.x, rect.y + rect.height});
        const double scale = mapping().scale;
        return NSMakeRect(lowerLeft.x, lowerLeft.y, scale * rect.width, scale * rect.height);
    }

    [[nodiscard]] NSBezierPath* oval(const IconRect& around) const {
        return [NSBezierPath bezierPathWithOvalInRect:rect(around)];
    }

    void push(const Mapping& mapping) {
        auto image = taking([[NSImage alloc] initWithSize:NSMakeSize(pixels_, pixels_)]);
        [image.get() lockFocus];
        canvases_.push_back({std::move(image), mapping});
    }

    Retained<NSImage> pop() {
        auto image = std::move(canvases_.back().image);
        [image.get() unlockFocus];
        canvases_.pop_back();
        return image;
    }

    double pixels_;
    std::vector<Canvas> canvases_;
};

} // namespace

Retained<NSImage> drawnIcon(const IconImage& image, double pixelsPerPoint) {
    @autoreleasepool {
        Drawing drawing{image.size * pixelsPerPoint, pixelsPerPoint};
        for (const auto& operation : image.operations) {
            std::visit(drawing, operation);
        }
        auto drawn = drawing.finish();
        [drawn.get() setTemplate:NO];
        [drawn.get() setAccessibilityDescription:nsString(image.accessibilityDescription)];
        return drawn;
    }
}

} // namespace brindle
