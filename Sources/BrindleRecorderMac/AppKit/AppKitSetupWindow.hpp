// The setup window.
#pragma once

#include "BrindleRecorderApp/Platform/SetupWindow.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#import <AppKit/AppKit.h>

namespace brindle {

class AppKitSetupWindow final : public SetupWindow {
  public:
    explicit AppKitSetupWindow(const SetupWindowContent& content);
    ~AppKitSetupWindow() override;
    AppKitSetupWindow(const AppKitSetupWindow&) = delete;
    AppKitSetupWindow& operator=(const AppKitSetupWindow&) = delete;

    void setContent(const SetupWindowContent& content) override;
    void bringToFront() override;

    [[nodiscard]] NSWindow* native() const { return window_.get(); }

  private:
    Retained<NSWindow> window_;
};

} // namespace brindle
