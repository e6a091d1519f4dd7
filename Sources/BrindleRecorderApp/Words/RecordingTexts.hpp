// The words about a recording: the notes in its sidecar, and what the user is told.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Base/TimeZone.hpp"
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace brindle {

/// Notes in sidecars, in English; what the user is told in the same words, in the user's language
/// too. Pure functions; any thread.
struct RecordingNotes {
    /// Stands where a device is named, and there was none.
    static constexpr const char* noDevice = "none";
    static constexpr const char* noMicrophone =
        "No microphone was available; recorded without audio.";
    static constexpr const char* nothingOpened =
        "No camera or microphone could be opened; nothing was recorded.";
    static constexpr const char* noPartialFile = "No partial recording file was found.";
    static constexpr const char* partialConversionFailed =
        "Converting the partial recording to .mp4 failed; the .mov was left in place.";
    static constexpr const char* interruptedWithoutMovie =
        "Recording was interrupted and no .mov file was found.";

    /// The new segment's note that it goes on where another was cut off.
    static std::string continues(const std::string& baseName);

    /// A device that the user (or the system) asked for was not there. `kind` is "camera" or
    /// "microphone".
    static std::string
    deviceUnavailable(bool preferredByUser, const std::string& kind, const std::string& usedName);

    /// Why the camera that is used, if any, is not the one that was chosen, if any.
    static std::string cameraNote(
        const std::optional<CaptureDeviceInfo>& resolved,
        const std::optional<CaptureDeviceInfo>& used, bool cameraAccessDenied,
        const Language& language = Language::english());

    /// Why there is no picture although there is a camera. Without the holder's name where nobody
    /// knows it.
    static std::string
    cameraInUse(const std::optional<std::string>& holder, const Language& language);
    static std::string noEncoder(const Language& language) {
        return language.say("No video encoder works here; recorded audio only.");
    }

    /// The failed segment's note; `continuedIn` is the base name of the next one.
    static std::string captureFailure(
        Date at, const std::string& message, const std::optional<std::string>& continuedIn,
        const TimeZone& timeZone);

    static std::string conversionFailed(const std::string& error, const std::string& baseName);
    static std::string noVideoFile(const std::string& finishError);
};

/// Notifications and warnings, in the user's language. Pure functions; any thread.
struct RecordingMessages {
    static constexpr const char* title = "Brindle Recorder";
    static std::string noDiskSpace() { return say("Not enough free disk space."); }
    static std::string microphoneDenied() {
        return say("Microphone access is denied, so nothing could be recorded.");
    }
    static std::string nothingOpened() {
        return say("Could not open any camera or microphone. Nothing was recorded.");
    }
    static std::string nothingReopened() {
        return say("Recording stopped: no camera or microphone could be reopened.");
    }
    /// Stands in the sidecar as well, in English.
    static std::string cameraIsBack(const Language& language = Language::ofTheUser()) {
        return language.say("The camera is available again.");
    }

    /// `cameraNote` is added where there is no camera.
    static std::string fallbackUsed(
        const std::optional<std::string>& cameraName, const std::string& microphoneName,
        const std::optional<std::string>& cameraNote);

    static std::string keptAsMov(const std::string& baseName);
    static std::string lost(const std::string& baseName);
    static std::string restarting(const std::string& error);

    /// The warning that stands in the menu after a failure; `time` is for people.
    static std::string stoppedAt(const std::string& time, const std::string& error);
    static std::string problemAt(
        const std::string& time, const std::string& error,
        const std::optional<std::string>& continuedIn);

    static std::string recovered(std::size_t count);

    /// The time of day as that zone's clock shows it: "14:05".
    static std::string timeOfDay(Date date, const TimeZone& timeZone);
};

} // namespace brindle
