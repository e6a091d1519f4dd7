#include "BrindleRecorderLinux/Qt/DrawnIcon.hpp"

#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

namespace brindle {
namespace {

IconImage picture() {
    return MenuBarIconRenderer::image(MenuBarIconState::idle(), 0, true, Appearance::light);
}

QImage drawn(int pixels) {
    return DrawnIcon::picture(picture(), pixels)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

/// What a widget of that many pixels shows.
QImage shownIn(const QSize& pixels, qreal pixelsPerPoint) {
    QImage widget{pixels, QImage::Format_ARGB32_Premultiplied};
    widget.setDevicePixelRatio(pixelsPerPoint);
    widget.fill(Qt::transparent);
    QPainter painter{&widget};
    DrawnIcon::of(picture()).paint(&painter, QRect{QPoint{}, pixels / pixelsPerPoint});
    painter.end();
    widget.setDevicePixelRatio(1);
    return widget;
}

TEST(DrawnIcon, IsDrawnForTheSizeThatItIsShownIn) {
    for (const int side : {16, 22, 24, 37, 64}) {
        EXPECT_EQ(shownIn({side, side}, 1), drawn(side)) << side;
    }
}

TEST(DrawnIcon, IsDrawnForThePixelsOfASharperScreen) {
    EXPECT_EQ(shownIn({48, 48}, 2), drawn(48));
}

TEST(DrawnIcon, StaysSquareInTheMiddle) {
    const QImage wide = shownIn({40, 24}, 1);
    EXPECT_EQ(wide.copy(8, 0, 24, 24), drawn(24));
}

TEST(DrawnIcon, IsAPictureOnNothing) {
    EXPECT_EQ(
        DrawnIcon::of(picture()).pixmap(22).toImage().convertToFormat(
            QImage::Format_ARGB32_Premultiplied),
        drawn(22));
}

} // namespace
} // namespace brindle
