#include "Simulation/SimulatedCapture.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace brindle::simulation {

namespace {

class SimulatedDevice final : public CaptureDevice {
  public:
    SimulatedDevice(CaptureDeviceInfo info, MediaType mediaType)
        : info_{std::move(info)}, mediaType_{mediaType} {}

    [[nodiscard]] const CaptureDeviceInfo& info() const override { return info_; }
    [[nodiscard]] MediaType mediaType() const override { return mediaType_; }
    bool lockForConfiguration() override { return true; }
    void unlockForConfiguration() override {}
    [[nodiscard]] std::vector<FrameRateRange> supportedFrameRateRanges() const override {
        return {{.minFrameRate = 5, .maxFrameRate = 30}};
    }
    void setFrameDuration(Seconds /*shortest*/, Seconds /*longest*/) override {}

  private:
    CaptureDeviceInfo info_;
    MediaType mediaType_;
};

class SimulatedInput final : public CaptureInput {};

PlatformError errorOf(std::string description) {
    return {
        .domain = "Simulation", .code = 1, .description = std::move(description), .underlying = {}};
}

Fate chooseFate(Scene& scene, bool hasCamera) {
    if (!scene.random.chance(scene.captureFailurePercent)) {
        return Fate::fine;
    }
    static const std::vector<Fate> fates{
        Fate::startFails,   Fate::noFrames,      Fate::stalls,           Fate::runtimeError,
        Fate::runtimeError, Fate::endsWithError, Fate::endsWithoutError, Fate::endsThoughComplete};
    const Fate fate = scene.random.oneOf(fates);
    return fate == Fate::noFrames && !hasCamera ? Fate::stalls : fate;
}

} // namespace

SimulatedOutput::~SimulatedOutput() {
    if (recording_) {
        --context_->scene.writing; // the program died with it
    }
}

void SimulatedOutput::startRecording(const std::filesystem::path& path, FinishCallback onFinish) {
    Scene& scene = context_->scene;
    const auto session = session_.lock();
    path_ = path;
    onFinish_ = std::move(onFinish);
    const Opening opening = session ? session->opening() : Opening{};
    fate_ = chooseFate(scene, opening.camera.has_value());
    const std::string baseName = path.stem().native();
    scene.recordedBy[baseName] = scene.launches;
    if (fate_ == Fate::startFails || !context_->disk.createSyncedFile(path, "") ||
        !context_->disk.syncDirectory(path.parent_path())) {
        scene.note("capture: {} cannot be started", baseName);
        context_->memory.baseName = baseName;
        context_->memory.room = opening.room;
        context_->memory.at = opening.at;
        context_->memory.startFailed = true;
        scene.failures.push_back(
            {.launch = scene.launches,
             .room = opening.room,
             .segment = std::nullopt,
             .words = {"Capture stopped: cannot start"}});
        ++scene.statistics.captureFailures;
        scene.trouble();
        onFinish_(path, errorOf("cannot start"));
        return;
    }
    ++scene.statistics.recordings;
    if (std::ranges::any_of(scene.segments, [&](const Segment& other) {
            return other.baseName == baseName && !other.mayBeDiscarded && other.safe > 0;
        })) {
        scene.violate("the name of an earlier recording is used again");
    }
    segmentIndex_ = scene.segments.size();
    Segment made;
    made.id = static_cast<unsigned>(segmentIndex_);
    made.launch = scene.launches;
    made.baseName = baseName;
    made.startedAt = scene.timeline.now();
    if (const auto sidecar = context_->sidecarOf(baseName)) {
        made.room = sidecar->roomCode;
        made.sidecarStart = sidecar->startedAt;
    }
    made.opening = opening;
    made.lastWritten = scene.wallClock.now();
    if (CaptureMemory& memory = context_->memory;
        !memory.baseName.empty() && memory.room == opening.room) {
        const Segment* const before = scene.segmentNamed(memory.baseName);
        made.before = memory.baseName;
        made.beforeAt = memory.at;
        made.beforeFailed = memory.startFailed || (before != nullptr && before->captureFailed);
    }
    context_->memory.baseName = baseName;
    context_->memory.room = opening.room;
    context_->memory.at = opening.at;
    context_->memory.startFailed = false;
    // The sidecar is older than the movie: it may be from when the disk was sick.
    constexpr Seconds sidecarAge{10};
    made.sidecarExcused =
        scene.lastSick && secondsBetween(*scene.lastSick, made.startedAt) < sidecarAge;
    scene.segments.push_back(std::move(made));
    scene.note(
        "capture: {} begins, room {}, fate {}", baseName, segment().room, static_cast<int>(fate_));
    begin();
}

void SimulatedOutput::begin() {
    Scene& scene = context_->scene;
    recording_ = true;
    startedAt_ = scene.timeline.now();
    if (++scene.writing > 1) {
        scene.violate("more than one segment is open");
    }
    if (fate_ == Fate::noFrames) {
        frozen_ = true;
        noteFailure(
            "no frames", {"The camera delivered no frames.", "Nothing was written for 10 s."});
        return;
    }
    scene.timeline.after(fragmentInterval_, [weakly = weak_from_this()] {
        if (const auto self = weakly.lock()) {
            self->nextFragment();
        }
    });
    if (fate_ != Fate::fine) {
        scene.timeline.after(scene.between(0, 25), [weakly = weak_from_this()] {
            if (const auto self = weakly.lock(); self && self->recording_ && !self->stopAsked_) {
                self->meetFate(self->fate_);
            }
        });
    }
}

void SimulatedOutput::noteFailure(const char* what, std::vector<std::string> words) {
    Scene& scene = context_->scene;
    ++scene.statistics.captureFailures;
    scene.trouble();
    segment().captureFailed = true;
    segment().failedAt = segment().failedAt.value_or(scene.timeline.now());
    std::ranges::copy(words, std::back_inserter(segment().failureWords));
    scene.failures.push_back(
        {.launch = scene.launches,
         .room = segment().opening.room,
         .segment = segment().id,
         .words = std::move(words)});
    scene.note("capture: {} of {}", what, segment().baseName);
}

void SimulatedOutput::meetFate(Fate fate) {
    const bool mustShow = !context_->scene.ending.contains(segment().baseName) &&
                          context_->programRecords(segment().room);
    switch (fate) {
    case Fate::stalls:
        captured_ = recordedDuration();
        frozen_ = true;
        noteFailure("stall", {"Nothing was written for 10 s.", "The camera delivered no frames."});
        return;
    case Fate::runtimeError:
        noteFailure(
            "runtime error", {"Capture stopped: device gone", "Capture stopped: unknown error"});
        segment().failureMustShow = mustShow;
        if (const auto session = session_.lock()) {
            session->reportRuntimeError(
                context_->scene.random.chance(70) ? std::optional{errorOf("device gone")}
                                                  : std::nullopt);
        }
        return;
    case Fate::endsWithError:
        noteFailure("unexpected end with an error", {"Capture stopped: encoder failed"});
        segment().failureMustShow = mustShow;
        closeFile();
        finish(errorOf("encoder failed"));
        return;
    case Fate::endsWithoutError:
        noteFailure("unexpected end", {"Recording stopped on its own (no error reported)."});
        segment().failureMustShow = mustShow;
        closeFile();
        finish(std::nullopt);
        return;
    case Fate::endsThoughComplete: {
        noteFailure("unexpected end of a complete file", {"limit reached"});
        segment().failureMustShow = mustShow;
        closeFile();
        auto error = errorOf("limit reached");
        error.recordingSuccessfullyFinished = true;
        finish(error);
        return;
    }
    case Fate::fine:
    case Fate::startFails:
    case Fate::noFrames:
        return;
    }
}

void SimulatedOutput::noteChangeOfCamera() {
    const Scene& scene = context_->scene;
    const Opening& opening = segment().opening;
    if (opening.camera) {
        const bool isUsed = std::ranges::any_of(scene.cameraHolders, [&](const auto& holder) {
            return deviceName(holder.first) == opening.camera;
        });
        if (isUsed) {
            noteFailure(
                "loss of the camera", {"Capture stopped: Another program is using the camera."});
        }
        return;
    }
    const bool isFree = std::ranges::any_of(scene.cameras, [&](const CaptureDeviceInfo& camera) {
        return !scene.cameraHolders.contains(camera.uniqueID);
    });
    const auto session = session_.lock();
    const bool isHealthy = session && session->isListenedTo(); // as far as the program knows
    if (isFree && !opening.cameraIsDenied && isHealthy) {
        noteFailure("return of a camera", {"The camera is available again."});
    }
}

void SimulatedOutput::nextFragment() {
    if (!recording_ || frozen_) {
        return;
    }
    Scene& scene = context_->scene;
    if (!writeFragment(scene.random.chance(60))) {
        if (stopAsked_) {
            return;
        }
        noteFailure("the disk refuses a fragment", {"Capture stopped: no space left"});
        closeFile();
        finish(errorOf("no space left"));
        return;
    }
    scene.timeline.after(fragmentInterval_, [weakly = weak_from_this()] {
        if (const auto self = weakly.lock()) {
            self->nextFragment();
        }
    });
}

bool SimulatedOutput::writeFragment(bool syncAtOnce) {
    const Seconds fresh = recordedDuration() - inFragments_;
    const auto milliseconds = static_cast<unsigned>(fresh.count() * 1000);
    if (milliseconds == 0) {
        return true;
    }
    Segment& segment = this->segment();
    const Fragment fragment{
        segment.id, static_cast<unsigned>(segment.written.size()), std::min(milliseconds, 99'999U)};
    if (!context_->disk.appendMedia(path_, fragment.text())) {
        return false;
    }
    inFragments_ += fresh;
    segment.lastWritten = context_->scene.wallClock.now();
    segment.written.push_back(fragment.milliseconds);
    const auto sync = [weakly = weak_from_this(), count = segment.written.size()] {
        if (const auto self = weakly.lock();
            self && self->recording_ && self->context_->disk.syncMedia(self->path_)) {
            self->segment().safe = std::max(self->segment().safe, count);
        }
    };
    if (syncAtOnce) {
        sync();
    } else {
        context_->scene.timeline.after(context_->scene.between(0, 1), sync);
    }
    return true;
}

void SimulatedOutput::stopRecording() {
    if (!recording_ || stopAsked_) {
        return;
    }
    Scene& scene = context_->scene;
    stopAsked_ = true;
    if (context_->sessionRecords() && context_->sessionRoom() == segment().opening.room) {
        noteChangeOfCamera();
    }
    const auto session = session_.lock();
    if (session) {
        session->end();
    }
    // Once the program has given a capture up, it waits for no report; some never come.
    const bool reports = (session && session->isListenedTo()) || scene.random.chance(60);
    const Seconds delay = scene.random.chance(80) ? scene.between(0, 0.3) : scene.between(0, 15);
    scene.note(
        "capture: {} is to stop{}", path_.stem().native(), reports ? "" : ", and will not report");
    scene.timeline.after(delay, [weakly = weak_from_this(), reports, waited = scene.outside] {
        if (const auto self = weakly.lock(); self && self->recording_) {
            self->closeFile();
            if (reports) {
                self->finish(
                    self->context_->scene.random.chance(5) ? std::optional{errorOf("late trouble")}
                                                           : std::nullopt);
            }
        }
    });
}

void SimulatedOutput::closeFile() {
    Scene& scene = context_->scene;
    if (!frozen_) {
        captured_ = recordedDuration();
        frozen_ = true;
    }
    writeFragment(true);
    if (context_->disk.syncMedia(path_)) {
        segment().safe = segment().written.size();
    }
    segment().closed = true;
    recording_ = false;
    --scene.writing;
    scene.note(
        "capture: {} closed with {} fragments", path_.stem().native(), segment().written.size());
}

void SimulatedOutput::finish(const std::optional<PlatformError>& error) {
    if (const auto report = std::exchange(onFinish_, nullptr)) {
        report(path_, error);
    }
}

Seconds SimulatedOutput::recordedDuration() const {
    if (frozen_) {
        return captured_;
    }
    return recording_ ? secondsBetween(startedAt_, context_->scene.timeline.now())
                      : Seconds{std::numeric_limits<double>::quiet_NaN()};
}

Expected<std::shared_ptr<CaptureInput>, PlatformError>
SimulatedSession::makeInput(const std::shared_ptr<CaptureDevice>& device) {
    const std::string name = device->info().localizedName;
    const bool isCamera = device->mediaType() == MediaType::video;
    opening_.refused = context_->scene.brokenDevices.contains(device->info().uniqueID);
    context_->memory.opening = opening_;
    if (opening_.refused) {
        context_->scene.trouble();
        return unexpected(errorOf("busy"));
    }
    (isCamera ? opening_.camera : opening_.microphone) = name;
    context_->scene.lastOpening = opening_;
    return std::make_shared<SimulatedInput>();
}

std::shared_ptr<MovieFileOutput> SimulatedSession::makeMovieFileOutput() {
    return std::make_shared<SimulatedOutput>(context_, weak_from_this());
}

std::optional<CameraHolder> SimulatedCaptureSystem::holderOf(const std::string& cameraID) const {
    CaptureMemory& memory = context_->memory;
    const bool isUsed = context_->scene.cameraHolders.contains(cameraID);
    // Asked before each attempt.
    memory.wantedCameras.push_back(deviceName(cameraID));
    if (isUsed) {
        memory.usedCameras.insert(deviceName(cameraID));
    }
    return isUsed ? std::optional{CameraHolder{}} : std::nullopt;
}

std::set<std::int32_t> SimulatedCaptureSystem::openersOf(const std::string& cameraID) const {
    const auto found = context_->scene.cameraOpeners.find(cameraID);
    return found == context_->scene.cameraOpeners.end() ? std::set<std::int32_t>{} : found->second;
}

bool SimulatedCaptureSystem::hasLetGoOf(const std::string& cameraID) const {
    const auto session = session_.lock();
    return !session || !session->isListenedTo() ||
           session->opening().camera != deviceName(cameraID) ||
           !context_->programRecords(session->opening().room) || !session->hasCamera();
}

std::vector<CaptureDeviceInfo> SimulatedCaptureSystem::discover(MediaType mediaType) const {
    if (mediaType == MediaType::video) {
        context_->memory.wantedCameras.clear();
        context_->memory.usedCameras.clear();
    }
    return present(mediaType);
}

const std::vector<CaptureDeviceInfo>& SimulatedCaptureSystem::present(MediaType mediaType) const {
    return mediaType == MediaType::video ? context_->scene.cameras : context_->scene.microphones;
}

std::optional<CaptureDeviceInfo> SimulatedCaptureSystem::defaultCamera() const {
    const auto& cameras = context_->scene.cameras;
    return cameras.empty() ? std::nullopt : std::optional{cameras.front()};
}

std::shared_ptr<CaptureDevice> SimulatedCaptureSystem::device(const std::string& uniqueID) {
    for (const MediaType mediaType : {MediaType::video, MediaType::audio}) {
        for (const CaptureDeviceInfo& info : present(mediaType)) {
            if (info.uniqueID == uniqueID) {
                return std::make_shared<SimulatedDevice>(info, mediaType);
            }
        }
    }
    return nullptr;
}

std::shared_ptr<CaptureSession> SimulatedCaptureSystem::makeSession() {
    // Only a start that has waited for the user's leave may come after the end of its call.
    if (!context_->sessionRecords() && !context_->scene.answersAccess) {
        context_->scene.violate("a capture begins although the session does not record");
    }
    auto session = std::make_shared<SimulatedSession>(context_, openingNow());
    session_ = session;
    return session;
}

Opening SimulatedCaptureSystem::openingNow() const {
    const Scene& scene = context_->scene;
    const auto preferred = [&](MediaType mediaType) {
        const auto found = scene.preferred.find(mediaType);
        return found == scene.preferred.end() ? std::nullopt : std::optional{found->second};
    };
    Opening opening;
    opening.at = scene.timeline.now();
    opening.room = context_->sessionRoom();
    opening.clocksAhead = scene.clocksAhead;
    opening.preferredCamera = preferred(MediaType::video);
    opening.preferredMicrophone = preferred(MediaType::audio);
    if (!scene.cameras.empty()) {
        opening.defaultCamera = scene.cameras.front().localizedName;
    }
    opening.cameraIsDenied =
        scene.authorization.at(MediaType::video) != AuthorizationStatus::authorized;
    opening.triedCameras = context_->memory.wantedCameras;
    opening.usedCameras = context_->memory.usedCameras;
    return opening;
}

AuthorizationStatus SimulatedCaptureSystem::authorizationStatus(MediaType mediaType) const {
    return context_->scene.authorization[mediaType];
}

void SimulatedCaptureSystem::requestAccess(
    MediaType mediaType, std::function<void(bool granted)> answer) {
    Scene& scene = context_->scene;
    scene.note("user: is asked for access");
    scene.timeline.after(
        scene.between(0.5, 20),
        [sceneAt = &scene, waited = scene.outside, mainLoop = &context_->mainLoop, mediaType,
         answer = std::move(answer), weakly = std::weak_ptr{context_}] {
            if (weakly.expired()) {
                return;
            }
            const bool granted = sceneAt->random.chance(85);
            sceneAt->authorization[mediaType] =
                granted ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
            sceneAt->note("user: {} access", granted ? "grants" : "denies");
            mainLoop->post([sceneAt, answer, granted] {
                sceneAt->answersAccess = true;
                answer(granted);
                sceneAt->answersAccess = false;
            });
        });
}

} // namespace brindle::simulation
