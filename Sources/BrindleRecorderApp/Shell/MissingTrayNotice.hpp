// Tells the user of a desktop without a tray how to see and steer the program there.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <memory>

namespace brindle {

class AppModel;
class StatusItem;

/// Main thread only. Shown once and never again: the program is there to be forgotten. Where nobody
/// shows it, the next launch tries again.
class MissingTrayNotice {
  public:
    /// All must outlive the notice.
    MissingTrayNotice(
        AppModel& model, const AppEnvironment& environment, const StatusItem& statusItem);
    MissingTrayNotice(const MissingTrayNotice&) = delete;
    MissingTrayNotice& operator=(const MissingTrayNotice&) = delete;

    /// Looks for the tray when the desktop has had time to bring its panel up.
    void launch();

  private:
    void look();

    AppModel& model_;
    AppEnvironment environment_;
    const StatusItem& statusItem_;
    std::unique_ptr<MainLoop::Timer> timer_;
};

} // namespace brindle
