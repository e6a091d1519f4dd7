// The second part of the application model: the life of a recording, from the session's request to
// the finished .mp4, and everything that may happen to it on the way.
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Diagnostics.hpp"
#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Words/RecordingTexts.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Calls/CallNaming.hpp"
#include "BrindleRecorderCore/Recordings/CaptureRecoveryPolicy.hpp"
#include "BrindleRecorderCore/Recordings/DiskSpacePolicy.hpp"
#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "BrindleRecorderCore/Recordings/SidecarUpdate.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace brindle {

namespace {

constexpr const char* noDevice = "none";

std::string nameOf(const std::optional<CaptureDeviceInfo>& device) {
    return device ? device->localizedName : noDevice;
}

std::string describe(const RecoveryDecision& decision) {
    return fmt::format(
        "restart={} blockCurrentCamera={} audioOnly={}", decision.restart,
        decision.blockCurrentCamera, decision.audioOnly);
}

/// The cameras to try, best first; nothing stands for going without a camera.
std::vector<std::optional<CaptureDeviceInfo>> cameraAttempts(
    bool cameraAllowed, const std::optional<CaptureDeviceInfo>& resolved,
    const std::vector<CaptureDeviceInfo>& candidates) {
    std::vector<std::optional<CaptureDeviceInfo>> attempts;
    if (cameraAllowed) {
        if (resolved) {
            attempts.emplace_back(resolved);
        }
        for (const CaptureDeviceInfo& candidate : candidates) {
            if (candidate != resolved) {
                attempts.emplace_back(candidate);
            }
        }
    }
    attempts.emplace_back(std::nullopt);
    return attempts;
}

} // namespace

void AppModel::startRecording(const std::string& roomCode) {
    const RecordingRequest request{.roomCode = roomCode, .number = ++requestCount_};
    lastRequest_ = request;
    pendingWork_.enqueue([this, request] { return beginRecordingIfWanted(request); });
}

void AppModel::stopRecording(bool keep) {
    pendingWork_.enqueue([this, keep] { return endRecording(keep); });
}

// Beginning

bool AppModel::isWanted(const RecordingRequest& request) const {
    return sessionState.get() == SessionState::recording(request.roomCode) && !isOutdated(request);
}

bool AppModel::isOutdated(const RecordingRequest& request) const {
    return !lastRequest_ || request.number != lastRequest_->number;
}

Task<void> AppModel::beginRecordingIfWanted(RecordingRequest request) {
    if (isWanted(request)) {
        co_await beginRecording(request, std::nullopt, false);
    } else {
        // The jobs before took longer than the call, or a sleep came between.
        logNotBegun(request);
    }
}

Task<void> AppModel::beginRecording(
    RecordingRequest request, std::optional<Continuation> continuing, bool audioOnly) {
    log_.diagnostic(fmt::format(
        "begin recording: room={} continuing={} audioOnly={}", request.roomCode,
        continuing ? continuing->baseName : "-", audioOnly));
    // Whatever is wrong with the folder shows when the free space is read.
    static_cast<void>(folder_.createIfNeeded(environment_.fileManager));
    if (!diskSpaceAllowsRecording()) {
        recordingDidFail(request);
        co_return;
    }
    const bool granted = co_await microphoneIsGranted();
    if (isOutdated(request)) {
        logNotBegun(request); // the machine has slept while the user was asked
        co_return;
    }
    if (!granted) {
        tellUser(RecordingMessages::microphoneDenied);
        recordingDidFail(request);
        co_return;
    }
    const ResolvedDevices resolved = resolveDevices(audioOnly);
    const std::string baseName = continuing ? continuing->baseName : uniqueBaseName();
    Sidecar sidecar = makeSidecar(request.roomCode, continuing, resolved);
    begunBaseNames_.insert(baseName);
    // Before capture starts: whatever interrupts the recording, the next launch finds it by this.
    writeSidecar(baseName, sidecar);
    if (const auto opened = openDevices(resolved, folder_.movURL(baseName))) {
        recordingDidOpen(request, baseName, std::move(sidecar), resolved, *opened);
    } else {
        giveUpOpening(request, baseName, std::move(sidecar), continuing.has_value());
    }
}

void AppModel::logNotBegun(const RecordingRequest& request) {
    log_.diagnostic("recording not begun: room=" + request.roomCode + " is over");
}

bool AppModel::diskSpaceAllowsRecording() {
    const DiskSpaceVerdict verdict =
        DiskSpacePolicy::verdictForVolumeContaining(environment_.fileManager, folder_.root);
    const auto message = verdict.message();
    if (!verdict.allowsRecording()) {
        tellUser(message.value_or(RecordingMessages::noDiskSpace));
        return false;
    }
    if (message) {
        tellUser(*message);
    }
    return true;
}

Task<bool> AppModel::microphoneIsGranted() {
    permissions.refresh();
    // The camera is optional; only a missing microphone is worth asking for again.
    if (!permissions.microphoneAuthorized.get()) {
        co_await permissions.requestCameraAndMicrophone();
        permissions.refresh();
    }
    co_return permissions.microphoneAuthorized.get();
}

AppModel::ResolvedDevices AppModel::resolveDevices(bool audioOnly) {
    devices.refresh();
    ResolvedDevices resolved;
    std::ranges::copy_if(
        devices.cameras().get(), std::back_inserter(resolved.cameraCandidates),
        [this](const CaptureDeviceInfo& camera) {
            return !blockedCameraIDs_.contains(camera.uniqueID);
        });
    resolved.cameraAccessDenied = !permissions.cameraAuthorized.get();
    resolved.cameraAllowed = !audioOnly && !resolved.cameraAccessDenied;
    if (resolved.cameraAllowed) {
        resolved.camera = DeviceSelection::resolve(
            settings.preferredVideoDeviceID.get(),
            DeviceSelection::idOf(devices.systemDefaultCamera().get()), resolved.cameraCandidates);
    }
    resolved.microphone = DeviceSelection::resolve(
        settings.preferredAudioDeviceID.get(),
        DeviceSelection::idOf(devices.systemDefaultMicrophone().get()),
        devices.microphones().get());
    return resolved;
}

Sidecar AppModel::makeSidecar(
    const std::string& roomCode, const std::optional<Continuation>& continuing,
    const ResolvedDevices& resolved) const {
    const Date now = environment_.dateProvider.now();
    const auto found = labelSources_.find(roomCode);
    const auto source = found == labelSources_.end() ? std::nullopt : std::optional{found->second};
    Sidecar sidecar{
        .roomCode = roomCode,
        .startedAt = now,
        .endedAt = std::nullopt,
        .videoDevice = nameOf(resolved.camera.device),
        .audioDevice = nameOf(resolved.microphone.device),
        .fallbackUsed = resolved.camera.fallbackUsed || resolved.microphone.fallbackUsed,
        .interrupted = false,
        .notes = {},
        .source = source,
        .callName = CallNaming::name(source, now, environment_.currentTimeZone()),
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
    noteUnavailable(resolved.camera, settings.preferredVideoDeviceID.get().has_value(), "camera");
    noteUnavailable(
        resolved.microphone, settings.preferredAudioDeviceID.get().has_value(), "microphone");
    if (!resolved.microphone.device) {
        sidecar = SidecarUpdate::noting(sidecar, RecordingNotes::noMicrophone);
    }
    return sidecar;
}

std::optional<AppModel::OpenedDevices>
AppModel::openDevices(const ResolvedDevices& resolved, const std::filesystem::path& movPath) {
    const auto& microphone = resolved.microphone.device;
    for (const auto& camera : cameraAttempts(
             resolved.cameraAllowed, resolved.camera.device, resolved.cameraCandidates)) {
        const auto video = camera ? environment_.captureSystem.device(camera->uniqueID) : nullptr;
        const auto audio =
            microphone ? environment_.captureSystem.device(microphone->uniqueID) : nullptr;
        if (camera && !video) {
            continue; // pulled since the catalog was read
        }
        if (recorder_.start(video, audio, movPath)) {
            return OpenedDevices{camera, audio ? microphone : std::nullopt};
        }
    }
    return std::nullopt;
}

void AppModel::giveUpOpening(
    const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
    bool continuing) {
    log_.diagnostic("nothing could be opened for " + baseName);
    if (continuing) {
        warn(request.roomCode, RecordingMessages::nothingReopened);
    } else {
        tellUser(RecordingMessages::nothingOpened);
    }
    sidecar = SidecarUpdate::noting(std::move(sidecar), RecordingNotes::nothingOpened);
    writeSidecar(
        baseName, SidecarUpdate::finished(std::move(sidecar), environment_.dateProvider.now()));
    recordingDidFail(request);
    refreshStatusLine();
}

void AppModel::recordingDidOpen(
    const RecordingRequest& request, const std::string& baseName, Sidecar sidecar,
    const ResolvedDevices& resolved, const OpenedDevices& opened) {
    std::optional<std::string> cameraNote;
    if (!opened.camera || opened.camera != resolved.camera.device) {
        cameraNote = RecordingNotes::cameraNote(
            resolved.camera.device, opened.camera, resolved.cameraAccessDenied);
        sidecar = SidecarUpdate::noting(std::move(sidecar), *cameraNote);
        sidecar.videoDevice = nameOf(opened.camera);
        sidecar.fallbackUsed = true;
    }
    if (resolved.microphone.device && !opened.microphone) {
        // Pulled since the catalog was read.
        sidecar = SidecarUpdate::noting(std::move(sidecar), RecordingNotes::noMicrophone);
        sidecar.audioDevice = noDevice;
        sidecar.fallbackUsed = true;
    }
    writeSidecar(baseName, sidecar);
    log_.diagnostic(fmt::format(
        "recording: {} video={} audio={} fallback={}", baseName, sidecar.videoDevice,
        sidecar.audioDevice, sidecar.fallbackUsed));
    if (sidecar.fallbackUsed) {
        tellUser(RecordingMessages::fallbackUsed(
            opened.camera ? std::optional{opened.camera->localizedName} : std::nullopt,
            sidecar.audioDevice, cameraNote));
    }
    ++currentSegment_;
    currentRequest_ = request;
    currentBaseName_ = baseName;
    currentSidecar_ = std::move(sidecar);
    refreshStatusLine();
}

// Ending

Task<void> AppModel::endRecording(bool keep) {
    if (!currentBaseName_ || !currentSidecar_) {
        co_return;
    }
    const std::string baseName = *std::exchange(currentBaseName_, std::nullopt);
    Sidecar sidecar = *std::exchange(currentSidecar_, std::nullopt);
    log_.diagnostic(fmt::format("end recording: {} keep={}", baseName, keep));
    if (keep) {
        co_await this->keep(baseName, std::move(sidecar));
    } else {
        co_await discard(baseName);
    }
    refreshFolderSize();
    refreshStatusLine();
}

Task<void> AppModel::discard(std::string baseName) {
    // An open sidecar is what the next launch recovers, so it goes first, whatever happens then.
    static_cast<void>(environment_.fileManager.removeFileForGood(folder_.sidecarURL(baseName)));
    co_await recorder_.stopAndDiscard();
    static_cast<void>(environment_.fileManager.removeFileForGood(folder_.mp4URL(baseName)));
}

Task<void> AppModel::keep(std::string baseName, Sidecar sidecar) {
    log_.system(EventLog::Level::info, "stop and keep: " + baseName);
    const RecorderStatus before = recorder_.status().get();
    const auto kept = co_await recorder_.stopAndKeep(folder_.mp4URL(baseName));
    if (const auto* failed = std::get_if<RecorderStatus::Failed>(&before.value); failed && !kept) {
        // It failed just before it was to stop, so there is nothing to stop but all to convert.
        co_await finaliseAfterCaptureFailure(
            currentRequest_, baseName, std::move(sidecar), failed->error, std::nullopt);
        co_return;
    }
    if (!kept) {
        keepWhateverWasRecorded(baseName, sidecar, kept.error());
        co_return;
    }
    log_.system(
        EventLog::Level::info,
        fmt::format(
            "kept: {}.mp4 {}", baseName,
            Diagnostics::fileState(environment_.fileManager, folder_.mp4URL(baseName))));
    writeSidecar(
        baseName, SidecarUpdate::finished(std::move(sidecar), environment_.dateProvider.now()));
}

void AppModel::keepWhateverWasRecorded(
    const std::string& baseName, const Sidecar& sidecar, const RecorderError& error) {
    const auto& files = environment_.fileManager;
    const auto movPath = folder_.movURL(baseName);
    const auto& finishError = recorder_.lastRecordingFinishError();
    const std::string finishText =
        finishError ? Diagnostics::describe(*finishError) : "no error reported";
    log_.system(
        EventLog::Level::error,
        fmt::format(
            "stop and keep failed: {} error={}; .mov {}; .mp4 {}; capture finished with: {}",
            baseName, error.userMessage(), Diagnostics::fileState(files, movPath),
            Diagnostics::fileState(files, folder_.mp4URL(baseName)), finishText));
    const bool somethingWasWritten = Diagnostics::fileSize(files, movPath).value_or(0) >= 1;
    const std::string note = somethingWasWritten
                                 ? RecordingNotes::conversionFailed(error.userMessage(), baseName)
                                 : RecordingNotes::noVideoFile(finishText);
    writeSidecar(
        baseName, SidecarUpdate::finished(
                      SidecarUpdate::noting(sidecar, note), environment_.dateProvider.now()));
    tellUser(
        somethingWasWritten ? RecordingMessages::keptAsMov(baseName)
                            : RecordingMessages::lost(baseName));
}

// Failing

void AppModel::recorderDidFail(const RecorderError& error) {
    // Taken now: when the job's turn comes, the session may be about another call.
    const auto failed = currentBaseName_ ? std::optional{currentRequest_} : lastRequest_;
    if (!failed) {
        return;
    }
    const auto segment = currentBaseName_ ? std::optional{currentSegment_} : std::nullopt;
    pendingWork_.enqueue(
        [this, error, failed, segment] { return processCaptureFailure(error, *failed, segment); });
}

Task<void> AppModel::processCaptureFailure(
    RecorderError error, RecordingRequest failed, std::optional<std::uint64_t> failedSegment) {
    if (currentBaseName_ && currentSegment_ != failedSegment) {
        // A stop that was asked for before has ended that segment, and the next one records.
        co_return;
    }
    if (!sessionState.get().roomCode() && !currentBaseName_) {
        co_return;
    }
    const std::string roomCode = failed.roomCode;
    const int failures = ++failureCountByRoom_[roomCode];
    // Asleep the call goes on, too: what may not be restarted now is not to be resumed either.
    const RecoveryDecision decision = CaptureRecoveryPolicy::decide(
        error.failureKind(), failures, sessionState.get() == SessionState::recording(roomCode));
    const std::string message = error.userMessage();
    log_.diagnostic(fmt::format(
        "capture failure #{} in room {}: {} file={} decision={}", failures, roomCode, message,
        currentBaseName_.value_or("-"), describe(decision)));
    if (!currentBaseName_ || !currentSidecar_) {
        tellUser(message);
        decision.restart ? recordingDidFail(failed) : giveUpCall(roomCode);
        co_return;
    }
    const std::string baseName = *std::exchange(currentBaseName_, std::nullopt);
    const Sidecar sidecar = *std::exchange(currentSidecar_, std::nullopt);
    if (decision.blockCurrentCamera) {
        blockCameraNamed(sidecar.videoDevice);
    }
    std::optional<std::string> continuedIn;
    if (decision.restart) {
        continuedIn = uniqueBaseName();
    }
    continuedIn =
        co_await finaliseAfterCaptureFailure(failed, baseName, sidecar, error, continuedIn);

    const std::string time = RecordingMessages::timeOfDay(
        environment_.dateProvider.now(), environment_.currentTimeZone());
    // A start that followed a sleep may be waiting behind this job.
    const bool goesOn = decision.restart && lastRequest_ && isWanted(*lastRequest_) &&
                        lastRequest_->roomCode == roomCode;
    warn(
        roomCode, goesOn ? RecordingMessages::problemAt(time, message, continuedIn)
                         : RecordingMessages::stoppedAt(time, message));
    tellUser(goesOn ? RecordingMessages::restarting(message) : message);
    if (!decision.restart) {
        giveUpCall(roomCode);
    }
    if (!continuedIn) {
        refreshStatusLine();
        co_return;
    }
    // A variable of its own: g++ 12 destroys an aggregate that is made within a co_await twice.
    Continuation continuation{
        .baseName = *continuedIn,
        .continuedBaseName = baseName,
    };
    co_await beginRecording(failed, std::move(continuation), decision.audioOnly);
}

void AppModel::blockCameraNamed(const std::string& localizedName) {
    const auto& cameras = devices.cameras().get();
    const auto camera =
        std::ranges::find(cameras, localizedName, &CaptureDeviceInfo::localizedName);
    if (camera != cameras.end()) {
        blockedCameraIDs_.insert(camera->uniqueID);
    }
}

Task<std::optional<std::string>> AppModel::finaliseAfterCaptureFailure(
    RecordingRequest request, std::string baseName, Sidecar sidecar, RecorderError error,
    std::optional<std::string> continuedIn) {
    const Date failedAt = environment_.dateProvider.now();
    // Nothing reads a movie that is still being written.
    co_await recorder_.waitUntilFileIsClosed();
    const auto movPath = folder_.movURL(baseName);
    const bool hasMovie = environment_.fileManager.fileExists(movPath);
    bool converted = false;
    if (hasMovie) {
        const auto remuxed = co_await remuxer_.remuxToMP4(movPath, folder_.mp4URL(baseName));
        converted = remuxed.has_value();
    }
    if (!isWanted(request)) {
        continuedIn.reset(); // the call was over before this segment was converted
    }
    sidecar = SidecarUpdate::noting(
        std::move(sidecar),
        RecordingNotes::captureFailure(
            failedAt, error.userMessage(), continuedIn, environment_.currentTimeZone()));
    if (!converted) {
        sidecar = SidecarUpdate::noting(
            std::move(sidecar),
            hasMovie ? RecordingNotes::partialConversionFailed : RecordingNotes::noPartialFile);
    }
    writeSidecar(
        baseName, SidecarUpdate::finished(std::move(sidecar), environment_.dateProvider.now()));
    refreshFolderSize();
    co_return continuedIn;
}

// Repairing

Task<void> AppModel::otherWorkHasHadItsTurn() {
    const brindle::Continuation<Done> turn;
    const auto timer =
        environment_.mainLoop.after(std::chrono::seconds{0}, [turn] { turn.resume({}); });
    co_await turn;
}

Task<void> AppModel::recordingsHaveHadTheirTurn() {
    while (sessionState.get().isRecording() || !pendingWork_.isIdle()) {
        const brindle::Continuation<Done> changed;
        std::unique_ptr<Observation> observation;
        if (sessionState.get().isRecording()) {
            observation = sessionState.observe([this, changed](const SessionState&) {
                environment_.mainLoop.post([changed] { changed.resume({}); });
            });
        } else {
            pendingWork_.whenIdle([changed] { changed.resume({}); });
        }
        co_await changed;
    }
}

/// In turns with everything else: nobody's call waits until thousands of sidecars have been read.
Task<std::vector<InterruptedRecording>> AppModel::findInterruptedRecordings() {
    constexpr std::size_t sidecarsPerTurn = 50;
    std::vector<InterruptedRecording> found;
    co_await otherWorkHasHadItsTurn();
    const auto sidecars = InterruptedScan::sidecars(folder_, environment_.fileManager);
    if (!sidecars) {
        co_return found;
    }
    std::size_t examined = 0;
    for (const std::filesystem::path& path : *sidecars) {
        if (++examined % sidecarsPerTurn == 0) {
            co_await otherWorkHasHadItsTurn();
        }
        // The user may have started a recording before the launch has come this far.
        auto recording = InterruptedScan::examine(folder_, environment_.fileManager, path);
        if (recording && !begunBaseNames_.contains(recording->baseName)) {
            found.push_back(*std::move(recording));
        }
    }
    co_return found;
}

Task<void> AppModel::repairInterruptedRecordings() {
    const auto interrupted = co_await findInterruptedRecordings();
    if (interrupted.empty()) {
        co_return;
    }
    for (const InterruptedRecording& recording : interrupted) {
        const auto sidecar = SidecarStore::read(environment_.fileManager, recording.sidecarURL);
        if (!sidecar) {
            continue;
        }
        if (!recording.movURL) {
            Sidecar repaired =
                SidecarUpdate::noting(*sidecar, RecordingNotes::interruptedWithoutMovie);
            repaired.interrupted = true;
            repaired.endedAt = sidecar->startedAt;
            writeSidecar(recording.baseName, repaired);
            continue;
        }
        const auto modified = environment_.fileManager.modificationDate(*recording.movURL);
        const Date endedAt = modified ? *modified : sidecar->startedAt;
        const auto remuxed = co_await remuxer_.remuxToMP4(
            *recording.movURL, folder_.mp4URL(recording.baseName),
            [this] { return recordingsHaveHadTheirTurn(); });
        writeSidecar(
            recording.baseName, SidecarUpdate::interrupted(*sidecar, endedAt, remuxed.has_value()));
    }
    tellUser(RecordingMessages::recovered(interrupted.size()));
    refreshFolderSize();
}

// Shared steps

void AppModel::recordingDidFail(const RecordingRequest& request) {
    // By the time of a job the session may be recording another call, whose own start still waits,
    // or the same one after a sleep.
    if (isWanted(request)) {
        session_.recordingDidFail(false);
    }
}

void AppModel::giveUpCall(const std::string& roomCode) {
    if (sessionState.get() == SessionState::recording(roomCode)) {
        session_.recordingDidFail(false);
    }
}

void AppModel::writeSidecar(const std::string& baseName, const Sidecar& sidecar) {
    const auto written = SidecarStore::write(
        environment_.fileManager, sidecar, folder_.sidecarURL(baseName),
        environment_.currentTimeZone());
    if (!written) {
        // The recording goes on all the same.
        log_.diagnostic(
            fmt::format("sidecar not written: {} {}", baseName, written.error().description()));
    }
}

std::string AppModel::uniqueBaseName() const {
    return RecordingNaming::uniqueBaseName(
        environment_.dateProvider.now(), folder_.root, environment_.currentTimeZone(),
        environment_.fileManager);
}

void AppModel::tellUser(const std::string& body) {
    notifier.post(RecordingMessages::title, body);
}

} // namespace brindle
