// Which processes use the microphone right now, when that may have changed, and what the windows of
// a call program are titled.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class ProcessRegistry;
class WindowList;
struct CallAppFamily;
struct WindowRecord;

/// Main thread only. Reports no errors: what cannot be read counts as not recording or not known.
class MicActivityMonitor {
  public:
    /// What is kept of window titles, which other programs choose: the first bytes of each, cut
    /// between characters, and the first titles of a family.
    static constexpr std::size_t maxTitleBytes = 4096;
    static constexpr std::size_t maxTitles = 512;

    /// The three services must outlive the monitor.
    MicActivityMonitor(
        AudioObjects& audioObjects, const ProcessRegistry& processRegistry,
        const WindowList& windowList);
    MicActivityMonitor(const MicActivityMonitor&) = delete;
    MicActivityMonitor& operator=(const MicActivityMonitor&) = delete;

    /// Called while started whenever a new snapshot may differ from the last one.
    std::function<void()> onChange;
    /// Whether this program itself is recording. Needed where only the device's activity is known,
    /// which this program's own recording causes too.
    std::function<bool()> isOwnCaptureRunning = [] {
        return false;
    };

    /// Begins to call `onChange`. Does nothing when started already.
    void start();
    /// Ends it.
    void stop();

    /// The processes that record now, in the audio server's order, never this program itself.
    /// Where processes cannot be told apart: one anonymous user (empty identifier, pid -1) while
    /// the default microphone is in use, and nobody while this program records. Works started or
    /// not. Window titles are left absent.
    [[nodiscard]] std::vector<MicUser> snapshot();

    /// The titles of all windows of all processes of the family that the identifier belongs to, in
    /// the desktop's order, then those that the family tells otherwise, within the limits above.
    /// Absent, which is not the same as none, when titles may not or cannot be read and the family
    /// tells none, and for an identifier of no known family.
    [[nodiscard]] std::optional<std::vector<std::string>>
    windowTitlesForFamilyOf(const std::string& bundleID) const;
    /// The users, each browser with its window titles. The windows are read once for all of them.
    [[nodiscard]] std::vector<MicUser> withWindowTitles(std::vector<MicUser> users) const;
    /// What people call the user's program, where the desktop knows that better than the catalog.
    [[nodiscard]] std::optional<std::string> programName(const MicUser& user) const;

  private:
    /// Either observation is empty where it could not be registered.
    struct SystemListener {
        std::unique_ptr<Observation> processes;
        std::unique_ptr<Observation> defaultInputDevice;
    };
    struct DeviceListener {
        AudioObjectID device = 0;
        std::unique_ptr<Observation> runningSomewhere;
    };

    void notify() const;
    void rewireListeners();
    void rewireProcessListeners();
    void rewireDeviceListener();

    std::optional<std::vector<MicUser>> perProcessSnapshot();
    [[nodiscard]] std::vector<MicUser> deviceSnapshot() const;
    struct Titles {
        std::optional<std::vector<WindowRecord>> ofWindows; ///< absent when they cannot be read
        std::vector<WindowRecord> toldOtherwise;
    };
    [[nodiscard]] Titles readTitles() const;
    [[nodiscard]] std::optional<std::vector<std::string>>
    titlesOf(const CallAppFamily& family, const Titles& all) const;
    void addTitles(
        std::vector<std::string>& titles, const CallAppFamily& family,
        const std::vector<WindowRecord>& records) const;

    std::string bundleIDOf(AudioObjectID process, std::int32_t pid);
    std::optional<std::string> resolveBundleID(AudioObjectID process, std::int32_t pid);
    [[nodiscard]] std::optional<std::string> enclosingApplicationID(std::int32_t pid) const;

    AudioObjects& audioObjects_;
    const ProcessRegistry& processRegistry_;
    const WindowList& windowList_;
    const std::int32_t ownPid_;

    struct Resolved {
        std::int32_t pid = 0;
        std::string bundleID;
    };
    /// Kept as long as the audio server lists the process: its pid is free for another afterwards.
    std::map<AudioObjectID, Resolved> resolved_;

    // Last, so that they are gone first: an observation that is gone calls nobody.
    std::optional<SystemListener> systemListener_;
    std::map<AudioObjectID, std::unique_ptr<Observation>> processListeners_;
    std::optional<DeviceListener> deviceListener_;
};

} // namespace brindle
