// Finder, other applications, and how the user wants things to look and move.
#pragma once

#include "BrindleRecorderApp/Platform/Workspace.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#import <AppKit/AppKit.h>

namespace brindle {

class AppKitWorkspace final : public Workspace {
  public:
    /// The appearance is that of the view which shows the icon: a menu bar may be dark where
    /// windows are light.
    explicit AppKitWorkspace(NSView* iconView) : iconView_{keeping(iconView)} {}

    void openFolder(const std::filesystem::path& folder) override;
    [[nodiscard]] std::optional<std::filesystem::path> ownApplication() const override;
    [[nodiscard]] std::optional<std::filesystem::path>
    application(const std::string& bundleIdentifier) const override;
    void openApplication(const std::filesystem::path& application) override;
    [[nodiscard]] bool reducesMotion() const override;
    [[nodiscard]] std::unique_ptr<Observation> observeReduceMotion(Listener listener) override;
    [[nodiscard]] Appearance appearance() const override;
    [[nodiscard]] std::unique_ptr<Observation> observeAppearance(Listener listener) override;

  private:
    Retained<NSView> iconView_;
};

} // namespace brindle
