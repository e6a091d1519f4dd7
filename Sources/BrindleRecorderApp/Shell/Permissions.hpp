// May the camera and the microphone be used, and what has the user still to set up?
#pragma once

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Platform/DesktopWords.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class CaptureSystem;
class WindowList;

/// What the setup depends on.
struct SetupState {
    bool cameraAuthorized = false;
    bool microphoneAuthorized = false;
    bool windowTitlesAllowed = false;
    friend bool operator==(const SetupState&, const SetupState&) = default;
};

/// One line of the setup checklist.
struct SetupItem {
    std::string id;                     ///< "camera", "microphone" or "windowTitles"
    std::string title;                  ///< for people
    std::optional<std::string> fixHint; ///< how to mend it; absent when there is nothing to mend
    friend bool operator==(const SetupItem&, const SetupItem&) = default;
};

/// Pure functions; any thread.
struct SetupChecklist {
    /// Always three items: camera, microphone, window titles.
    static std::vector<SetupItem> items(const SetupState& state, const DesktopWords& words = {});

    /// Whether recording cannot work fully: camera or microphone has something to mend. Window
    /// titles are a convenience and never a problem.
    static bool hasProblem(const SetupState& state);
};

/// Main thread only.
class PermissionsModel {
    Published<bool> cameraAuthorized_;
    Published<bool> microphoneAuthorized_;

  public:
    /// Reads both authorisations at once. Both services must outlive the model.
    PermissionsModel(
        CaptureSystem& captureSystem, const WindowList& windowList, DesktopWords words = {});
    PermissionsModel(const PermissionsModel&) = delete;
    PermissionsModel& operator=(const PermissionsModel&) = delete;

    /// True only for "authorized"; not decided yet, restricted and denied are all false.
    const Published<bool>& cameraAuthorized = cameraAuthorized_;
    const Published<bool>& microphoneAuthorized = microphoneAuthorized_;

    /// Reads both authorisations again and publishes them.
    void refresh();

    /// Asks the user for the camera and then for the microphone, each only where nothing has been
    /// decided, and waits for each answer; then refreshes. What was decided once is never asked
    /// again. A model that is destroyed meanwhile asks nothing more.
    Task<void> requestCameraAndMicrophone();

    /// The published authorisations, and whether window titles may be read right now.
    [[nodiscard]] SetupState setupState() const;
    [[nodiscard]] std::vector<SetupItem> setupItems() const;
    [[nodiscard]] bool hasProblem() const;

  private:
    CaptureSystem& captureSystem_;
    const WindowList& windowList_;
    const DesktopWords words_;
    /// Tells a request that waits for the user whether the model is still there.
    std::shared_ptr<const Done> lifetime_ = std::make_shared<Done>();
};

} // namespace brindle
