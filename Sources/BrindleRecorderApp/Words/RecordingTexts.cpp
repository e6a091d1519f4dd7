#include "BrindleRecorderApp/Words/RecordingTexts.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include <fmt/format.h>

namespace brindle {

std::string RecordingNotes::continues(const std::string& baseName) {
    return fmt::format("continues {}.mp4 after capture failure", baseName);
}

std::string RecordingNotes::deviceUnavailable(
    bool preferredByUser, const std::string& kind, const std::string& usedName) {
    return fmt::format(
        "{} {} was unavailable; used {} instead.", preferredByUser ? "Preferred" : "System default",
        kind, usedName);
}

std::string RecordingNotes::cameraNote(
    const std::optional<CaptureDeviceInfo>& resolved, const std::optional<CaptureDeviceInfo>& used,
    bool cameraAccessDenied, const Language& language) {
    if (resolved && used) {
        return language.say(
            "Camera {camera} refused to open; recorded with {other}.",
            fmt::arg("camera", resolved->localizedName), fmt::arg("other", used->localizedName));
    }
    if (resolved) {
        return language.say(
            "Camera {camera} refused to open; recorded audio only.",
            fmt::arg("camera", resolved->localizedName));
    }
    if (used) {
        return language.say(
            "No camera was resolved; recorded with {camera}.",
            fmt::arg("camera", used->localizedName));
    }
    return cameraAccessDenied ? language.say("Camera access is denied; recorded audio only.")
                              : language.say("No camera was available; recorded audio only.");
}

std::string
RecordingNotes::cameraInUse(const std::optional<std::string>& holder, const Language& language) {
    return holder ? language.say(
                        "{program} is using the camera; recording sound only.",
                        fmt::arg("program", *holder))
                  : language.say("Another program is using the camera; recording sound only.");
}

std::string RecordingNotes::captureFailure(
    Date at, const std::string& message, const std::optional<std::string>& continuedIn,
    const TimeZone& timeZone) {
    return fmt::format(
        "capture failed at {}: {}{}", InternetDateTime::format(at, timeZone), message,
        continuedIn ? "; continued in " + *continuedIn + ".mp4" : "");
}

std::string
RecordingNotes::conversionFailed(const std::string& error, const std::string& baseName) {
    return fmt::format(
        "MP4 conversion failed ({}); kept the original recording as {}.mov", error, baseName);
}

std::string RecordingNotes::noVideoFile(const std::string& finishError) {
    return "No video file was written; capture finished with: " + finishError;
}

std::string RecordingMessages::fallbackUsed(
    const std::optional<std::string>& cameraName, const std::string& microphoneName,
    const std::optional<std::string>& cameraNote) {
    const auto microphone = fmt::arg("microphone", microphoneName);
    if (cameraName) {
        return say(
            "Recording with {camera} / {microphone}.", fmt::arg("camera", *cameraName), microphone);
    }
    return cameraNote ? say("Recording audio only, with no camera: {microphone}. {why}", microphone,
                            fmt::arg("why", *cameraNote))
                      : say("Recording audio only, with no camera: {microphone}.", microphone);
}

std::string RecordingMessages::keptAsMov(const std::string& baseName) {
    return say(
        "The MP4 conversion failed, so the recording was kept as {name}.mov.",
        fmt::arg("name", baseName));
}

std::string RecordingMessages::lost(const std::string& baseName) {
    return say(
        "The recording {name} was lost: no video file was written.", fmt::arg("name", baseName));
}

std::string RecordingMessages::restarting(const std::string& error) {
    return say("{error} Restarting capture into a new file.", fmt::arg("error", error));
}

std::string RecordingMessages::stoppedAt(const std::string& time, const std::string& error) {
    return say(
        "Recording stopped at {time}: {error}", fmt::arg("time", time), fmt::arg("error", error));
}

std::string RecordingMessages::problemAt(
    const std::string& time, const std::string& error,
    const std::optional<std::string>& continuedIn) {
    const auto when = fmt::arg("time", time);
    const auto what = fmt::arg("error", error);
    return continuedIn
               ? say("Capture problem at {time}: {error} Recording continues in {name}.mp4.", when,
                     what, fmt::arg("name", *continuedIn))
               : say("Capture problem at {time}: {error} Recording continues in a new "
                     "file.",
                     when, what);
}

std::string RecordingMessages::recovered(std::size_t count) {
    return Language::ofTheUser().sayCount(
        "Recovered {count} interrupted recording(s).",
        "Recovered {count} interrupted recording(s).", count);
}

std::string RecordingMessages::timeOfDay(Date date, const TimeZone& timeZone) {
    const LocalTime local = timeZone.localTimeAt(date);
    return fmt::format("{:02}:{:02}", local.hour, local.minute);
}

} // namespace brindle
