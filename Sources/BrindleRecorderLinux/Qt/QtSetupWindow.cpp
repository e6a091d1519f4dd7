#include "BrindleRecorderLinux/Qt/QtSetupWindow.hpp"

#include "BrindleRecorderApp/Words/SetupTexts.hpp"

#include <QApplication>
#include <QDialog>
#include <QFont>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QString>
#include <QStyle>
#include <QVBoxLayout>

#include <string>
#include <variant>

namespace brindle {

namespace {

constexpr int textWidth = 460; ///< in device-independent pixels: some 70 characters a line
constexpr double headingScale = 1.6;
constexpr double noteScale = 0.92;
constexpr double hintAlpha = 0.75;

QString textOf(const std::string& text) {
    return QString::fromStdString(text);
}

QLabel* makeText(const std::string& text, QWidget* parent) {
    auto* label = new QLabel{parent};
    label->setTextFormat(Qt::PlainText);
    label->setText(textOf(text));
    label->setWordWrap(true);
    return label;
}

void scale(QWidget& widget, double factor) {
    QFont font = widget.font();
    font.setPointSizeF(font.pointSizeF() * factor);
    widget.setFont(font);
}

void subdue(QWidget& widget) {
    QPalette palette = widget.palette();
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(static_cast<float>(hintAlpha));
    palette.setColor(QPalette::WindowText, colour);
    widget.setPalette(palette);
}

/// Puts one block after the other into the window.
class Builder {
  public:
    Builder(QDialog& dialog, QVBoxLayout& layout) : dialog_{dialog}, layout_{layout} {}

    void operator()(const SetupWindowContent::Heading& heading) {
        auto* label = makeText(heading.text, &dialog_);
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
        scale(*label, headingScale);
        layout_.addWidget(label);
    }

    void operator()(const SetupWindowContent::Paragraph& paragraph) {
        layout_.addWidget(makeText(paragraph.text, &dialog_));
    }

    void operator()(const SetupWindowContent::Note& note) {
        auto* label = makeText(note.text, &dialog_);
        scale(*label, noteScale);
        subdue(*label);
        layout_.addWidget(label);
    }

    void operator()(const SetupWindowContent::Divider& /*divider*/) {
        auto* line = new QFrame{&dialog_};
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);
        layout_.addWidget(line);
    }

    void operator()(const SetupWindowContent::Row& row) {
        auto* lines = new QVBoxLayout;
        lines->setSpacing(2);
        auto* title = makeText(row.title, &dialog_);
        lines->addWidget(title);
        if (row.fixHint) {
            auto* hint = makeText(*row.fixHint, &dialog_);
            scale(*hint, noteScale);
            subdue(*hint);
            lines->addWidget(hint);
        }

        auto* mark = new QLabel{&dialog_};
        const int side = dialog_.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &dialog_);
        const auto icon = dialog_.style()->standardIcon(
            row.fixHint ? QStyle::SP_MessageBoxWarning : QStyle::SP_DialogApplyButton);
        mark->setPixmap(icon.pixmap(QSize{side, side}, dialog_.devicePixelRatioF()));
        mark->setFixedWidth(side);
        mark->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

        // One thing to a screen reader, and one that the keyboard reaches.
        auto* whole = new QWidget{&dialog_};
        whole->setFocusPolicy(Qt::TabFocus);
        whole->setAccessibleName(textOf(SetupTexts::spokenRow(row.title, !row.fixHint)));
        if (row.fixHint) {
            whole->setAccessibleDescription(textOf(*row.fixHint));
        }
        auto* columns = new QHBoxLayout{whole};
        columns->setContentsMargins(0, 0, 0, 0);
        columns->addWidget(mark, 0, Qt::AlignTop);
        columns->addLayout(lines, 1);
        layout_.addWidget(whole);
    }

    void operator()(const SetupWindowContent::DefaultButton& button) {
        auto* widget = new QPushButton{textOf(button.title), &dialog_};
        widget->setDefault(true);
        QObject::connect(widget, &QPushButton::clicked, &dialog_, &QDialog::accept);
        layout_.addSpacing(layout_.spacing());
        layout_.addWidget(widget, 0, Qt::AlignRight);
        widget->setFocus();
    }

  private:
    QDialog& dialog_;
    QVBoxLayout& layout_;
};

} // namespace

QtSetupWindow::QtSetupWindow(const SetupWindowContent& content)
    : dialog_{std::make_unique<QDialog>(
          nullptr,
          Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)} {
    QObject::connect(dialog_.get(), &QDialog::finished, dialog_.get(), [this] {
        if (onClosed) {
            onClosed();
        }
    });
    setContent(content);
}

QtSetupWindow::~QtSetupWindow() = default;

void QtSetupWindow::setContent(const SetupWindowContent& content) {
    if (content == content_) {
        return;
    }
    content_ = content;
    // Children and layout go together; whatever had the focus is made anew.
    delete dialog_->layout();
    qDeleteAll(dialog_->findChildren<QWidget*>(QString{}, Qt::FindDirectChildrenOnly));
    dialog_->setWindowTitle(textOf(content.title));
    auto* layout = new QVBoxLayout{dialog_.get()};
    const int margin = dialog_->fontMetrics().height();
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addStrut(textWidth);
    Builder builder{*dialog_, *layout};
    for (const auto& block : content.blocks) {
        std::visit(builder, block);
    }
    for (auto* child : dialog_->findChildren<QWidget*>(QString{}, Qt::FindDirectChildrenOnly)) {
        child->show();
    }
}

void QtSetupWindow::bringToFront() {
    if (!dialog_->isVisible()) {
        dialog_->adjustSize();
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        dialog_->move(screen.center() - dialog_->rect().center());
    }
    dialog_->show();
    dialog_->raise();
    dialog_->activateWindow();
}

} // namespace brindle
