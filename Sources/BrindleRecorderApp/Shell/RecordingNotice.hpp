// Says that something is being recorded where no icon says so.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

class AppModel;
class MenuWindow;
class StatusItem;

/// Main thread only. The notification comes and goes with the recording, and goes when a panel
/// shows the icon. What the user has closed does not come back for the same recording.
class RecordingNotice {
  public:
    /// `openMenu` shows the menu in one way or another. All must outlive the notice.
    RecordingNotice(
        AppModel& model, const StatusItem& statusItem, MenuWindow& window, MainLoop& mainLoop,
        std::function<void()> openMenu);
    ~RecordingNotice();
    RecordingNotice(const RecordingNotice&) = delete;
    RecordingNotice& operator=(const RecordingNotice&) = delete;

  private:
    void panelHasChanged();
    void look();
    void takeBack();
    void handle(Notifier::RecordingAnswer answer);

    AppModel& model_;
    const StatusItem& statusItem_;
    MainLoop& mainLoop_;
    const std::function<void()> openMenu_;
    std::optional<std::string> recorded_; ///< the room of the recording that goes on
    bool isPosted_ = false;
    bool isClosed_ = false; ///< by the user, for this recording
    std::unique_ptr<MainLoop::Timer> timeForThePanel_;
    std::unique_ptr<Observation> session_;
    std::unique_ptr<Observation> panel_;
};

} // namespace brindle
