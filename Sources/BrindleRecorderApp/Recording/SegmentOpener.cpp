#include "BrindleRecorderApp/Recording/SegmentOpener.hpp"

#include "BrindleRecorderApp/Calls/ProgramName.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderApp/Recording/RecordingFiles.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Shell/Permissions.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderApp/Words/StatusText.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Calls/CallNaming.hpp"
#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"
#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include <fmt/format.h>
#include <utility>
#include <vector>

namespace brindle {

namespace {

std::string nameOf(const std::optional<CaptureDeviceInfo>& device) {
    return device ? device->localizedName : RecordingNotes::noDevice;
}

/// The cameras to try, best first; nothing stands for going without a camera.
std::vector<std::optional<CaptureDeviceInfo>> cameraAttempts(const ChosenDevices& chosen) {
    std::vector<std::optional<CaptureDeviceInfo>> attempts;
    if (chosen.cameraAllowed) {
        if (chosen.camera.device) {
            attempts.emplace_back(chosen.camera.device);
        }
        for (const CaptureDeviceInfo& candidate : chosen.cameraCandidates) {
            if (candidate != chosen.camera.device) {
                attempts.emplace_back(candidate);
            }
        }
    }
    attempts.emplace_back(std::nullopt);
    return attempts;
}

} // namespace

Task<SegmentOpener::Opening> SegmentOpener::open(
    RecordingRequest request, std::optional<Continuation> continuing, bool audioOnly) {
    parts_.log.diagnostic(fmt::format(
        "begin recording: room={} continuing={} audioOnly={}", request.roomCode,
        continuing ? continuing->baseName : "-", audioOnly));
    Opening opening;
    // Whatever is wrong with the folder shows when the free space is read.
    parts_.files.makeFolder();
    if (!diskSpaceAllowsRecording()) {
        parts_.session.didFail(request);
        co_return opening;
    }
    const bool granted = co_await microphoneIsGranted();
    if (parts_.session.isOutdated(request)) {
        // While the user was asked, the machine has slept, or the next recording has become due.
        logNotBegun(request);
        co_return opening;
    }
    if (!granted) {
        parts_.notifier.tell(RecordingMessages::microphoneDenied());
        parts_.session.didFail(request);
        co_return opening;
    }
    const ChosenDevices chosen = parts_.devices.choose(audioOnly);
    const std::string baseName = continuing ? continuing->baseName : parts_.files.uniqueBaseName();
    Sidecar sidecar = makeSidecar(request.roomCode, continuing, chosen);
    opening.hasBegun = true;
    begunBaseNames_.insert(baseName);
    // Before capture starts: whatever interrupts the recording, the next launch finds it by this.
    parts_.files.writeSidecar(baseName, sidecar);
    if (const auto opened = openDevices(chosen, parts_.files.folder().movURL(baseName))) {
        opening.segment = didOpen(request, baseName, std::move(sidecar), chosen, *opened);
    } else {
        giveUp(request, baseName, std::move(sidecar), continuing.has_value());
    }
    co_return opening;
}

void SegmentOpener::logNotBegun(const RecordingRequest& request) const {
    parts_.log.diagnostic("recording not begun: room=" + request.roomCode + " is over");
}

bool SegmentOpener::diskSpaceAllowsRecording() const {
    const DiskSpaceVerdict verdict = parts_.files.diskSpace();
    const auto message = verdict.message();
    if (!verdict.allowsRecording()) {
        parts_.notifier.tell(message.value_or(RecordingMessages::noDiskSpace()));
        return false;
    }
    if (message) {
        parts_.notifier.tell(*message);
    }
    return true;
}

Task<bool> SegmentOpener::microphoneIsGranted() {
    PermissionsModel& permissions = parts_.permissions;
    permissions.refresh();
    // The camera is optional; only a missing microphone is worth asking for again.
    if (!permissions.microphoneAuthorized.get()) {
        co_await permissions.requestCameraAndMicrophone();
        permissions.refresh();
    }
    co_return permissions.microphoneAuthorized.get();
}

Sidecar SegmentOpener::makeSidecar(
    const std::string& roomCode, const std::optional<Continuation>& continuing,
    const ChosenDevices& chosen) const {
    const Date now = parts_.dateProvider.now();
    const auto source = parts_.sourceOf(roomCode);
    Sidecar sidecar{
        .roomCode = roomCode,
        .startedAt = now,
        .endedAt = std::nullopt,
        .videoDevice = nameOf(chosen.camera.device),
        .audioDevice = nameOf(chosen.microphone.device),
        .fallbackUsed = chosen.camera.fallbackUsed || chosen.microphone.fallbackUsed,
        .interrupted = false,
        .notes = {},
        .source = source,
        .callName = CallNaming::name(source, now, parts_.currentTimeZone()),
    };
    if (continuing) {
        sidecar = SidecarUpdate::noting(
            sidecar, RecordingNotes::continues(continuing->continuedBaseName));
    }
    const auto noteUnavailable = [&](const DeviceResolution& resolution, bool preferredByUser,
                                     const std::string& kind) {
        if (resolution.fallbackUsed && resolution.device) {
            sidecar = SidecarUpdate::noting(
                sidecar, RecordingNotes::deviceUnavailable(
                             preferredByUser, kind, resolution.device->localizedName));
        }
    };
    noteUnavailable(chosen.camera, chosen.cameraIsPreferred, "camera");
    noteUnavailable(chosen.microphone, chosen.microphoneIsPreferred, "microphone");
    if (!chosen.microphone.device) {
        sidecar = SidecarUpdate::noting(sidecar, RecordingNotes::noMicrophone);
    }
    return sidecar;
}

std::optional<SegmentOpener::OpenedDevices>
SegmentOpener::openDevices(const ChosenDevices& chosen, const std::filesystem::path& movPath) {
    CaptureSystem& captureSystem = parts_.captureSystem;
    const auto& microphone = chosen.microphone.device;
    OpenedDevices opened;
    for (const auto& camera : cameraAttempts(chosen)) {
        if (camera) {
            if (const auto who = captureSystem.holderOf(camera->uniqueID)) {
                opened.holder = camera == chosen.camera.device ? who : opened.holder;
                continue; // it would deliver nothing
            }
        }
        const auto video = camera ? captureSystem.device(camera->uniqueID) : nullptr;
        const auto audio = microphone ? captureSystem.device(microphone->uniqueID) : nullptr;
        if (camera && !video) {
            opened.refusedCameraIDs.insert(camera->uniqueID);
            continue; // pulled since the catalog was read
        }
        if (parts_.recorder.start(video, audio, movPath)) {
            opened.camera = camera;
            opened.microphone = audio ? microphone : std::nullopt;
            return opened;
        }
        if (camera) {
            opened.refusedCameraIDs.insert(camera->uniqueID);
        }
    }
    return std::nullopt;
}

void SegmentOpener::giveUp(
    const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
    bool continuing) {
    parts_.log.diagnostic("nothing could be opened for " + baseName);
    if (continuing) {
        parts_.session.warn(request.roomCode, RecordingMessages::nothingReopened());
    } else {
        parts_.notifier.tell(RecordingMessages::nothingOpened());
    }
    sidecar = SidecarUpdate::noting(std::move(sidecar), RecordingNotes::nothingOpened);
    parts_.files.writeSidecar(
        baseName, SidecarUpdate::finished(std::move(sidecar), parts_.dateProvider.now()));
    parts_.session.didFail(request);
}

Segment SegmentOpener::didOpen(
    const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
    const ChosenDevices& chosen, const OpenedDevices& opened) {
    const bool isCameraTaken = opened.holder && !opened.camera;
    const auto cameraNote = [&](const Language& language) {
        if (isCameraTaken) {
            return RecordingNotes::cameraInUse(
                ProgramName::of(*opened.holder, parts_.processRegistry), language);
        }
        if (chosen.encoderMissing) {
            return RecordingNotes::noEncoder(language);
        }
        return RecordingNotes::cameraNote(
            chosen.camera.device, opened.camera, chosen.cameraAccessDenied, language);
    };
    if (!opened.camera || opened.camera != chosen.camera.device) {
        sidecar = SidecarUpdate::noting(std::move(sidecar), cameraNote(Language::english()));
        sidecar.videoDevice = nameOf(opened.camera);
        sidecar.fallbackUsed = true;
    }
    if (chosen.microphone.device && !opened.microphone) {
        // Pulled since the catalog was read.
        sidecar = SidecarUpdate::noting(std::move(sidecar), RecordingNotes::noMicrophone);
        sidecar.audioDevice = RecordingNotes::noDevice;
        sidecar.fallbackUsed = true;
    }
    parts_.files.writeSidecar(baseName, sidecar);
    parts_.log.diagnostic(fmt::format(
        "recording: {} video={} audio={} fallback={}", baseName, sidecar.videoDevice,
        sidecar.audioDevice, sidecar.fallbackUsed));
    if (isCameraTaken) {
        parts_.notifier.tell(cameraNote(Language::ofTheUser()));
    } else if (sidecar.fallbackUsed) {
        parts_.notifier.tell(RecordingMessages::fallbackUsed(
            opened.camera ? std::optional{opened.camera->localizedName} : std::nullopt,
            StatusText::microphoneInSidecar(sidecar.audioDevice),
            opened.camera ? std::nullopt : std::optional{cameraNote(Language::ofTheUser())}));
    }
    return {
        .request = request,
        .number = ++segmentCount_,
        .baseName = baseName,
        .sidecar = std::move(sidecar),
        .cameraID = DeviceSelection::idOf(opened.camera),
        .lacksCamera = chosen.cameraAllowed && !opened.camera,
        .refusedCameraIDs = opened.refusedCameraIDs};
}

} // namespace brindle
