// The window of the first launch in Qt's widgets, with the desktop's own look.
#pragma once

#include "BrindleRecorderApp/Platform/SetupWindow.hpp"

#include <functional>
#include <memory>

class QDialog;

namespace brindle {

/// Main thread only; needs a QApplication.
class QtSetupWindow final : public SetupWindow {
  public:
    explicit QtSetupWindow(const SetupWindowContent& content);
    ~QtSetupWindow() override;
    QtSetupWindow(const QtSetupWindow&) = delete;
    QtSetupWindow& operator=(const QtSetupWindow&) = delete;

    void setContent(const SetupWindowContent& content) override;
    void bringToFront() override;

    /// Called when the user has closed it, by whatever means.
    std::function<void()> onClosed;

    /// For tests.
    [[nodiscard]] QDialog& dialog() const { return *dialog_; }

  private:
    std::unique_ptr<QDialog> dialog_;
    SetupWindowContent content_;
};

} // namespace brindle
