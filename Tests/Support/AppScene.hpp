// The whole application on a simulated desktop: all that is above the seam is real.
#pragma once

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"
#include "BrindleRecorderCore/Recordings/Sidecar.hpp"
#include "Support/FakeDesktop.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::test {

/// Begins on Saturday 2026-03-14 at 09:30:12 UTC, with one built-in camera and microphone, every
/// permission given, plenty of space and an empty recordings folder. The program has been started
/// but does not watch yet.
class AppScene : public FakeDesktop {
  public:
    inline static const CaptureDeviceInfo builtInCamera{"cam-1", "Integrated Camera", true};
    inline static const CaptureDeviceInfo webcam{"cam-2", "Desk Webcam", false};
    inline static const CaptureDeviceInfo builtInMicrophone{"mic-1", "Integrated Microphone", true};
    inline static const CaptureDeviceInfo headset{"mic-2", "Headset", false};

    AppScene();
    ~AppScene();
    AppScene(const AppScene&) = delete;
    AppScene& operator=(const AppScene&) = delete;

    // --- More of the desktop ---

    TimeZone timeZone = TimeZone::utc();
    /// What the next start of the program finds; null where the desktop has one that is always
    /// there.
    VideoEncoders* encoders = nullptr;
    /// How often the program let its clock follow the wall time.
    int wallTimesTakenOver = 0;
    const RecordingsFolder folder{"/home/user/Movies/Brindle"};
    /// Every movie file that capture ever began, in order.
    std::vector<std::filesystem::path> captured;

    // --- The program ---

    /// Ends the program without warning: whatever waits or is queued never happens.
    void kill();
    /// Starts the program, after `kill`.
    void start();
    /// Launches the program as on the desktop, with the user's leave to notify.
    void launch();

    [[nodiscard]] AppModel& model();
    [[nodiscard]] ManualMainLoop& loop();
    [[nodiscard]] ScriptedMovieExporter& exporter();

    // --- Time ---

    /// Runs everything that happens in that time, on the main thread and on the capture queue.
    void runFor(std::chrono::nanoseconds duration);
    /// Runs everything that happens before any time passes.
    void settle() { runFor(std::chrono::nanoseconds{0}); }
    /// The next single piece of work; false when there is none until then in the loop's time.
    bool step(std::chrono::nanoseconds end);
    /// While held, nothing runs on the capture queue.
    void holdCaptureQueue(bool held) { captureQueueHeld_ = held; }

    // --- What people and their programs do ---

    void takesTheMicrophone(const std::string& bundleID);
    void releasesTheMicrophone(const std::string& bundleID);
    void zoomTakesTheMicrophone() { takesTheMicrophone(zoom); }
    void zoomReleasesTheMicrophone() { releasesTheMicrophone(zoom); }
    void chromeTakesTheMicrophone() { takesTheMicrophone(chrome); }
    void chromeReleasesTheMicrophone() { releasesTheMicrophone(chrome); }
    /// That program's only window has this title from now on.
    void showsWindow(const std::string& bundleID, const std::string& title);
    /// The user answers the prompt that is showing for that call.
    void userAnswers(const std::string& label, bool record);

    /// Launches and has a call begin that is being recorded, as `firstBaseName`.
    void recordZoomCall();
    inline static const std::string firstBaseName = "2026-03-14_0930";

    /// The camera or the microphone is gone: the running capture reports it.
    void deviceDies();
    /// The running capture closes its file although nobody has asked for it.
    void writingStops();

    // --- What can be seen ---

    /// Must be there and readable.
    [[nodiscard]] Sidecar sidecar(const std::string& baseName) const;
    /// The camera of each segment that capture began, by its sidecar, in order.
    [[nodiscard]] std::vector<std::string> camerasUsed() const;
    /// The names of all files in the recordings folder, hidden ones included, in order.
    [[nodiscard]] std::vector<std::string> folderContents() const;
    /// The texts of all plain notifications, in order.
    [[nodiscard]] std::vector<std::string> notices() const;
    /// The diagnostic lines that begin so, in order.
    [[nodiscard]] std::vector<std::string> linesAbout(std::string_view beginning) const;
    [[nodiscard]] const std::string& statusLine() { return model().statusLine.get(); }
    /// "idle", "armed <room>" or "recording <room>".
    [[nodiscard]] std::string sessionInWords();

    inline static const std::string zoom = "us.zoom.xos";
    inline static const std::string teams = "com.microsoft.teams2";
    inline static const std::string chrome = "com.google.Chrome";

  private:
    struct Process;

    bool captureQueueHeld_ = false;
    std::map<std::string, AudioObjectID> audioProcesses_; // by bundle identifier
    std::unique_ptr<Process> process_;
};

} // namespace brindle::test
