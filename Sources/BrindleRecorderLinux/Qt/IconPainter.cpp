#include "BrindleRecorderLinux/Qt/IconPainter.hpp"

#include "BrindleRecorderLinux/Qt/IconOutline.hpp"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <QRectF>

#include <memory>
#include <variant>
#include <vector>

namespace brindle {

namespace {

QColor colourOf(const IconColour& colour) {
    return QColor::fromRgbF(
        static_cast<float>(colour.red), static_cast<float>(colour.green),
        static_cast<float>(colour.blue), static_cast<float>(colour.alpha));
}

QRectF rectOf(const IconRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

/// A picture that is being drawn: the whole one, or a layer of it.
struct Canvas {
    explicit Canvas(int pixels) : picture{pixels, pixels, QImage::Format_ARGB32_Premultiplied} {
        picture.fill(Qt::transparent);
        painter.begin(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
    }

    QImage picture;
    QPainter painter;
};

class Drawing {
  public:
    Drawing(const IconImage& image, int pixels) : pixels_{pixels} {
        push().painter.scale(pixels / image.size, pixels / image.size);
    }

    void operator()(const IconImage::BeginLayer& layer) {
        const QTransform outside = painter().transform();
        QPainter& inside = push().painter;
        inside.setTransform(outside);
        inside.translate(layer.translation.x, layer.translation.y);
        inside.scale(layer.scale, layer.scale);
    }

    void operator()(const IconImage::EndLayer& /*layer*/) {
        if (canvases_.size() < 2) {
            return;
        }
        const QImage layer = finishTop();
        painter().save();
        painter().resetTransform();
        painter().drawImage(0, 0, layer);
        painter().restore();
    }

    void operator()(const IconImage::StrokeCircle& circle) {
        painter().setPen(QPen{colourOf(circle.colour), circle.lineWidth});
        painter().setBrush(Qt::NoBrush);
        painter().drawEllipse(rectOf(circle.rect));
    }

    void operator()(const IconImage::StrokeLine& line) {
        painter().setPen(QPen{colourOf(line.colour), line.lineWidth, Qt::SolidLine, Qt::FlatCap});
        painter().drawLine(QPointF{line.from.x, line.from.y}, QPointF{line.to.x, line.to.y});
    }

    void operator()(const IconImage::FillCircle& circle) {
        fill(circle.rect, colourOf(circle.colour));
    }

    void operator()(const IconImage::ClearCircle& circle) {
        painter().setCompositionMode(QPainter::CompositionMode_Clear);
        fill(circle.rect, Qt::black);
        painter().setCompositionMode(QPainter::CompositionMode_SourceOver);
    }

    QImage finish() {
        while (canvases_.size() > 1) {
            (*this)(IconImage::EndLayer{});
        }
        return finishTop();
    }

  private:
    Canvas& push() { return *canvases_.emplace_back(std::make_unique<Canvas>(pixels_)); }
    QPainter& painter() { return canvases_.back()->painter; }

    QImage finishTop() {
        painter().end();
        QImage picture = std::move(canvases_.back()->picture);
        canvases_.pop_back();
        return picture;
    }

    void fill(const IconRect& rect, const QColor& colour) {
        painter().setPen(Qt::NoPen);
        painter().setBrush(colour);
        painter().drawEllipse(rectOf(rect));
    }

    int pixels_;
    std::vector<std::unique_ptr<Canvas>> canvases_; ///< the innermost layer last
};

} // namespace

QImage IconPainter::paint(const IconImage& image, int pixels) {
    if (pixels <= 0 || image.size <= 0) {
        return {};
    }
    Drawing drawing{image, pixels};
    for (const auto& operation : IconOutline::around(image).operations) {
        std::visit(drawing, operation);
    }
    return drawing.finish();
}

} // namespace brindle
