// Keeps the icon true to the application.
#pragma once

#include "BrindleRecorderApp/Async/CoalescedCall.hpp"
#include "BrindleRecorderApp/Platform/IconImage.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Shell/MenuBarIconAnimator.hpp"
#include "BrindleRecorderCore/Recordings/MenuBarIconState.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace brindle {

class AppModel;
struct AppEnvironment;
class StatusItem;
class Workspace;

/// Main thread only.
class MenuBarLabel {
  public:
    /// All must outlive the label. The icon is shown at once.
    MenuBarLabel(const AppModel& model, const AppEnvironment& environment, StatusItem& statusItem);
    MenuBarLabel(const MenuBarLabel&) = delete;
    MenuBarLabel& operator=(const MenuBarLabel&) = delete;

  private:
    template <class Field>
    void follow(const Field& field);
    void refresh();
    void draw();

    const AppModel& model_;
    Workspace& workspace_;
    StatusItem& statusItem_;
    MenuBarIconAnimator animator_;
    MenuBarIconState state_;
    std::optional<IconImage> shown_;
    CoalescedCall refreshing_;
    std::vector<std::unique_ptr<Observation>> observations_;
};

} // namespace brindle
