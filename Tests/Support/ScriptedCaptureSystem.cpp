#include "Support/ScriptedCaptureSystem.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace brindle::test {

namespace {

/// Remembers which device it was opened for.
class ScriptedCaptureInput final : public CaptureInput {
  public:
    explicit ScriptedCaptureInput(const CaptureDevice& device)
        : uniqueID_{device.info().uniqueID}, mediaType_{device.mediaType()} {}
    [[nodiscard]] const std::string& uniqueID() const { return uniqueID_; }
    [[nodiscard]] MediaType mediaType() const { return mediaType_; }

  private:
    std::string uniqueID_;
    MediaType mediaType_;
};

const ScriptedCaptureInput& scripted(const std::shared_ptr<CaptureInput>& input) {
    return dynamic_cast<const ScriptedCaptureInput&>(*input);
}

const std::string& deviceOf(const std::shared_ptr<CaptureInput>& input) {
    return scripted(input).uniqueID();
}

const char* nameOf(SessionPreset preset) {
    return preset == SessionPreset::hd1920x1080 ? "hd1920x1080" : "high";
}

const char* nameOf(MediaType mediaType) {
    return mediaType == MediaType::video ? "video" : "audio";
}

} // namespace

ScriptedCaptureDevice::ScriptedCaptureDevice(
    std::shared_ptr<CaptureScript> script, CaptureDeviceInfo info, MediaType mediaType,
    std::vector<FrameRateRange> frameRates)
    : script_{std::move(script)}, info_{std::move(info)}, mediaType_{mediaType},
      frameRates_{std::move(frameRates)} {}

bool ScriptedCaptureDevice::lockForConfiguration() {
    script_->journal.add("lock " + info_.uniqueID);
    return !script_->refuseLock.contains(info_.uniqueID);
}

void ScriptedCaptureDevice::unlockForConfiguration() {
    script_->journal.add("unlock " + info_.uniqueID);
}

void ScriptedCaptureDevice::setFrameDuration(Seconds shortest, Seconds longest) {
    script_->journal.add(fmt::format(
        "frame duration {} 1/{:g} to 1/{:g}", info_.uniqueID, 1 / shortest.count(),
        1 / longest.count()));
}

ScriptedMovieFileOutput::ScriptedMovieFileOutput(std::shared_ptr<CaptureScript> script)
    : script_{std::move(script)} {}

void ScriptedMovieFileOutput::finish(const std::optional<PlatformError>& error) {
    FinishCallback onFinish;
    std::filesystem::path path;
    {
        const std::lock_guard lock{mutex_};
        if (!onFinish_) {
            return;
        }
        recording_ = false;
        onFinish = std::exchange(onFinish_, nullptr);
        path = path_;
    }
    if (script_->whenFileCloses) {
        script_->whenFileCloses(path);
    }
    onFinish(path, error);
}

void ScriptedMovieFileOutput::finishOnAnotherThread(const std::optional<PlatformError>& error) {
    std::thread{[&] {
        finish(error);
    }}.join();
}

void ScriptedMovieFileOutput::closeSilently() {
    const std::lock_guard lock{mutex_};
    recording_ = false;
}

void ScriptedMovieFileOutput::setRecordedDuration(Seconds duration) {
    const std::lock_guard lock{mutex_};
    duration_ = duration;
}

void ScriptedMovieFileOutput::setMovieFragmentInterval(Seconds interval) {
    script_->journal.add(fmt::format("fragment interval {:g}", interval.count()));
}

bool ScriptedMovieFileOutput::hasConnection(MediaType mediaType) const {
    script_->journal.add(fmt::format("connection {}?", nameOf(mediaType)));
    return connections_.contains(mediaType) && !script_->withoutConnection.contains(mediaType);
}

void ScriptedMovieFileOutput::setVideoSettings(const VideoOutputSettings& settings) {
    script_->journal.add(fmt::format(
        "video settings {}x{} {} bit/s {} fps key frame every {} first picture within {:g} s",
        settings.width, settings.height, settings.averageBitRate, settings.expectedSourceFrameRate,
        settings.maxKeyFrameInterval, settings.firstPictureWithin.count()));
}

void ScriptedMovieFileOutput::setAudioSettings(const AudioOutputSettings& settings) {
    script_->journal.add(fmt::format(
        "audio settings {} channel {} Hz {} bit/s", settings.numberOfChannels, settings.sampleRate,
        settings.bitRate));
}

void ScriptedMovieFileOutput::startRecording(
    const std::filesystem::path& path, FinishCallback onFinish) {
    script_->journal.add("start recording " + path.filename().string());
    if (script_->startError) {
        onFinish(path, script_->startError);
        return;
    }
    if (script_->whenFileOpens) {
        script_->whenFileOpens(path);
    }
    const std::lock_guard lock{mutex_};
    recording_ = true;
    path_ = path;
    onFinish_ = std::move(onFinish);
    if (script_->clock != nullptr) {
        startedAt_ = script_->clock->now();
    }
}

void ScriptedMovieFileOutput::stopRecording() {
    script_->journal.add("stop recording");
    if (script_->finishWhenStopped) {
        finish(script_->finishError);
    }
}

bool ScriptedMovieFileOutput::isRecording() const {
    const std::lock_guard lock{mutex_};
    return recording_;
}

Seconds ScriptedMovieFileOutput::recordedDuration() const {
    const std::lock_guard lock{mutex_};
    return startedAt_ ? secondsBetween(*startedAt_, script_->clock->now()) : duration_;
}

ScriptedCaptureSession::ScriptedCaptureSession(std::shared_ptr<CaptureScript> script)
    : script_{std::move(script)} {}

void ScriptedCaptureSession::beginConfiguration() {
    script_->journal.add("begin configuration");
}

void ScriptedCaptureSession::commitConfiguration() {
    script_->journal.add("commit configuration");
}

Expected<std::shared_ptr<CaptureInput>, PlatformError>
ScriptedCaptureSession::makeInput(const std::shared_ptr<CaptureDevice>& device) {
    const auto& uniqueID = device->info().uniqueID;
    script_->journal.add("open " + uniqueID);
    if (script_->refuseOpen.contains(uniqueID)) {
        return unexpected(PlatformError{
            .domain = "Script", .code = 1, .description = "refused", .underlying = {}});
    }
    return std::make_shared<ScriptedCaptureInput>(*device);
}

bool ScriptedCaptureSession::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    script_->journal.add(fmt::format("can add input {}?", deviceOf(input)));
    return !script_->refuseAddInput.contains(deviceOf(input));
}

void ScriptedCaptureSession::addInput(const std::shared_ptr<CaptureInput>& input) {
    script_->journal.add("add input " + deviceOf(input));
    mediaTypes_.insert(scripted(input).mediaType());
}

bool ScriptedCaptureSession::canSetPreset(SessionPreset preset) const {
    script_->journal.add(fmt::format("can set preset {}?", nameOf(preset)));
    return !script_->refusePreset.contains(preset);
}

void ScriptedCaptureSession::setPreset(SessionPreset preset) {
    script_->journal.add(fmt::format("set preset {}", nameOf(preset)));
}

std::shared_ptr<MovieFileOutput> ScriptedCaptureSession::makeMovieFileOutput() {
    script_->journal.add("make output");
    output_ = std::make_shared<ScriptedMovieFileOutput>(script_);
    return output_;
}

bool ScriptedCaptureSession::canAddOutput(const std::shared_ptr<MovieFileOutput>&) const {
    script_->journal.add("can add output?");
    return !script_->refuseAddOutput;
}

void ScriptedCaptureSession::addOutput(const std::shared_ptr<MovieFileOutput>& output) {
    script_->journal.add("add output");
    dynamic_cast<ScriptedMovieFileOutput&>(*output).connect(mediaTypes_);
}

std::unique_ptr<Observation>
ScriptedCaptureSession::observeRuntimeErrors(RuntimeErrorListener listener) {
    script_->journal.add("observe runtime errors");
    return runtimeErrorListeners_.add(std::move(listener));
}

void ScriptedCaptureSession::startRunning() {
    script_->journal.add("start running");
}

void ScriptedCaptureSession::releaseCamera() {
    script_->journal.add("release camera");
}

void ScriptedCaptureSession::retakeCamera() {
    script_->journal.add("retake camera");
}

void ScriptedCaptureSession::stopRunning() {
    script_->journal.add("stop running");
}

ScriptedCaptureSystem::ScriptedCaptureSystem() = default;

void ScriptedCaptureSystem::addCamera(
    const CaptureDeviceInfo& info, std::vector<FrameRateRange> frameRates) {
    devices_.push_back(std::make_shared<ScriptedCaptureDevice>(
        script_, info, MediaType::video, std::move(frameRates)));
}

void ScriptedCaptureSystem::addMicrophone(const CaptureDeviceInfo& info) {
    devices_.push_back(std::make_shared<ScriptedCaptureDevice>(
        script_, info, MediaType::audio, std::vector<FrameRateRange>{}));
}

void ScriptedCaptureSystem::removeDevice(const std::string& uniqueID) {
    std::erase_if(
        devices_, [&](const auto& present) { return present->info().uniqueID == uniqueID; });
    for (auto* const camera : {&systemPreferredCamera_, &defaultCamera_}) {
        if (*camera && (*camera)->uniqueID == uniqueID) {
            camera->reset();
        }
    }
}

void ScriptedCaptureSystem::answerAccess(MediaType mediaType, bool granted) {
    settleAccess(mediaType, granted);
    for (const auto& answer : std::exchange(questions_[mediaType], {})) {
        answer(granted);
    }
}

std::size_t ScriptedCaptureSystem::waitingAccessQuestions(MediaType mediaType) const {
    const auto found = questions_.find(mediaType);
    return found == questions_.end() ? 0 : found->second.size();
}

std::vector<CaptureDeviceInfo> ScriptedCaptureSystem::discover(MediaType mediaType) const {
    std::vector<CaptureDeviceInfo> found;
    for (const auto& present : devices_) {
        if (present->mediaType() == mediaType) {
            found.push_back(present->info());
        }
    }
    return found;
}

std::unique_ptr<Observation> ScriptedCaptureSystem::observeDevices(std::function<void()> listener) {
    return deviceListeners_.add(std::move(listener));
}

void ScriptedCaptureSystem::setHolder(
    const std::string& cameraID, std::optional<CameraHolder> holder) {
    holders_.erase(cameraID);
    if (holder) {
        holders_.emplace(cameraID, *holder);
    }
    useListeners_.call();
}

std::optional<CameraHolder> ScriptedCaptureSystem::holderOf(const std::string& cameraID) const {
    const auto found = holders_.find(cameraID);
    return found == holders_.end() ? std::nullopt : std::optional{found->second};
}

void ScriptedCaptureSystem::setOpeners(const std::string& cameraID, std::set<std::int32_t> pids) {
    openers_[cameraID] = std::move(pids);
    useListeners_.call();
}

std::set<std::int32_t> ScriptedCaptureSystem::openersOf(const std::string& cameraID) const {
    const auto found = openers_.find(cameraID);
    return found == openers_.end() ? std::set<std::int32_t>{} : found->second;
}

std::unique_ptr<Observation>
ScriptedCaptureSystem::observeCameraUse(std::function<void()> listener) {
    return useListeners_.add(std::move(listener));
}

std::shared_ptr<CaptureDevice> ScriptedCaptureSystem::device(const std::string& uniqueID) {
    const auto found = std::ranges::find_if(
        devices_, [&](const auto& present) { return present->info().uniqueID == uniqueID; });
    return found == devices_.end() || script_->pulled.contains(uniqueID) ? nullptr : *found;
}

std::shared_ptr<CaptureSession> ScriptedCaptureSystem::makeSession() {
    script_->journal.add("make session");
    sessions_.push_back(std::make_shared<ScriptedCaptureSession>(script_));
    return sessions_.back();
}

AuthorizationStatus ScriptedCaptureSystem::authorizationStatus(MediaType mediaType) const {
    const auto found = authorization_.find(mediaType);
    return found == authorization_.end() ? AuthorizationStatus::authorized : found->second;
}

void ScriptedCaptureSystem::requestAccess(
    MediaType mediaType, std::function<void(bool granted)> answer) {
    script_->journal.add(fmt::format("request access {}", nameOf(mediaType)));
    if (const auto known = answers_.find(mediaType); known != answers_.end()) {
        settleAccess(mediaType, known->second);
        answer(known->second);
        return;
    }
    questions_[mediaType].push_back(std::move(answer));
}

void ScriptedCaptureSystem::settleAccess(MediaType mediaType, bool granted) {
    authorization_[mediaType] =
        granted ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
}

} // namespace brindle::test
