#include "BrindleRecorderApp/Words/RecordingTexts.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

std::string nameOf(const std::optional<std::string>& program) {
    return program.value_or("Another program");
}

} // namespace

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
    bool cameraAccessDenied) {
    if (resolved && used) {
        return fmt::format(
            "Camera {} refused to open; recorded with {}.", resolved->localizedName,
            used->localizedName);
    }
    if (resolved) {
        return fmt::format(
            "Camera {} refused to open; recorded audio only.", resolved->localizedName);
    }
    if (used) {
        return fmt::format("No camera was resolved; recorded with {}.", used->localizedName);
    }
    return cameraAccessDenied ? "Camera access is denied; recorded audio only."
                              : "No camera was available; recorded audio only.";
}

std::string RecordingNotes::cameraInUse(const std::optional<std::string>& holder) {
    return fmt::format("{} is using the camera; recording sound only.", nameOf(holder));
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
    if (cameraName) {
        return fmt::format("Recording with {} / {}.", *cameraName, microphoneName);
    }
    return fmt::format(
        "Recording audio only, with no camera: {}.{}", microphoneName,
        cameraNote ? " " + *cameraNote : "");
}

std::string RecordingMessages::cameraTaken(const std::optional<std::string>& holder) {
    return fmt::format("{} is using the camera.", nameOf(holder));
}

std::string RecordingMessages::keptAsMov(const std::string& baseName) {
    return fmt::format("The MP4 conversion failed, so the recording was kept as {}.mov.", baseName);
}

std::string RecordingMessages::lost(const std::string& baseName) {
    return fmt::format("The recording {} was lost: no video file was written.", baseName);
}

std::string RecordingMessages::restarting(const std::string& error) {
    return error + " Restarting capture into a new file.";
}

std::string RecordingMessages::stoppedAt(const std::string& time, const std::string& error) {
    return fmt::format("Recording stopped at {}: {}", time, error);
}

std::string RecordingMessages::problemAt(
    const std::string& time, const std::string& error,
    const std::optional<std::string>& continuedIn) {
    return fmt::format(
        "Capture problem at {}: {} Recording continues in {}.", time, error,
        continuedIn ? *continuedIn + ".mp4" : "a new file");
}

std::string RecordingMessages::recovered(std::size_t count) {
    return fmt::format("Recovered {} interrupted recording(s).", count);
}

std::string RecordingMessages::timeOfDay(Date date, const TimeZone& timeZone) {
    const LocalTime local = timeZone.localTimeAt(date);
    return fmt::format("{:02}:{:02}", local.hour, local.minute);
}

} // namespace brindle
