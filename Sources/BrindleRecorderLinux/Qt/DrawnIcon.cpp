#include "BrindleRecorderLinux/Qt/DrawnIcon.hpp"

#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QtEndian>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace brindle {

namespace {

class Engine final : public QIconEngine {
  public:
    explicit Engine(IconImage image) : image_{std::move(image)} {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode /*mode*/, QIcon::State /*state*/)
        override {
        const int side = std::min(rect.width(), rect.height());
        const qreal pixelsPerPoint = painter->device()->devicePixelRatio();
        QImage picture = DrawnIcon::picture(image_, qRound(side * pixelsPerPoint));
        picture.setDevicePixelRatio(pixelsPerPoint);
        painter->drawImage(
            rect.x() + (rect.width() - side) / 2, rect.y() + (rect.height() - side) / 2, picture);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture{size};
        picture.fill(Qt::transparent);
        QPainter painter{&picture};
        paint(&painter, picture.rect(), mode, state);
        return picture;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new Engine{image_}; }

  private:
    IconImage image_;
};

} // namespace

QImage DrawnIcon::picture(const IconImage& image, int pixels) {
    const IconPicture drawn = IconPainter::paint(image, pixels);
    QImage result{drawn.side, drawn.side, QImage::Format_ARGB32};
    const std::uint8_t* row = drawn.bytes.data();
    for (int y = 0; y < drawn.side; ++y) {
        qFromBigEndian<quint32>(row, drawn.side, result.scanLine(y));
        row += result.bytesPerLine();
    }
    return result;
}

QIcon DrawnIcon::of(const IconImage& image) {
    return QIcon{new Engine{image}};
}

} // namespace brindle
