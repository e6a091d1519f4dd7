#include "Support/AppScene.hpp"

#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "Support/SessionScene.hpp"

#include <stdexcept>
#include <utility>

namespace brindle::test {

namespace {

constexpr AudioObjectID defaultMicrophone = 1;
constexpr AudioObjectID firstAudioProcess = 100;
constexpr std::int32_t firstPid = 5000;

} // namespace

/// What ends with the program.
struct AppScene::Process {
    explicit Process(AppScene& scene) : run{scene}, model{environment(scene), scene.folder} {}

    AppEnvironment environment(AppScene& scene) {
        AppEnvironment environment = run.environment;
        environment.currentTimeZone = [&scene] {
            return scene.timeZone;
        };
        environment.videoEncoders = scene.encoders;
        environment.takeOverWallTime = [&scene] {
            ++scene.wallTimesTakenOver;
        };
        return environment;
    }

    FakeRun run;
    AppModel model;
};

AppScene::AppScene() {
    capture.addCamera(builtInCamera);
    capture.addMicrophone(builtInMicrophone);
    capture.setDefaultCamera(builtInCamera);
    audio.setDevice(defaultMicrophone, {.uniqueID = builtInMicrophone.uniqueID});
    audio.setDefaultInputDevice(defaultMicrophone);
    capture.script().clock = &clock;
    capture.script().whenFileOpens = [this](const std::filesystem::path& path) {
        captured.push_back(path);
        files.putFile(path, "captured");
    };
    start();
}

AppScene::~AppScene() {
    kill();
}

void AppScene::kill() {
    process_.reset();
    capture.forgetSessions();
    notifications.authorizationRequests.clear();
}

void AppScene::start() {
    process_ = std::make_unique<Process>(*this);
}

void AppScene::launch() {
    model().launch();
    settle();
    notifications.answerAuthorization(true);
    settle();
}

AppModel& AppScene::model() {
    return process_->model;
}

ManualMainLoop& AppScene::loop() {
    return process_->run.loop;
}

ScriptedMovieExporter& AppScene::exporter() {
    return process_->run.exporter;
}

void AppScene::runFor(std::chrono::nanoseconds duration) {
    const auto end = loop().now() + duration;
    while (step(end)) {
    }
}

bool AppScene::step(std::chrono::nanoseconds end) {
    if (loop().pendingPosts() == 0 && !captureQueueHeld_ && process_->run.captureQueue.runNext()) {
        return true;
    }
    return loop().runNextUntil(end);
}

void AppScene::takesTheMicrophone(const std::string& bundleID) {
    const auto count = audioProcesses_.size();
    const auto id = audioProcesses_.try_emplace(bundleID, firstAudioProcess + count).first->second;
    const auto pid = firstPid + static_cast<std::int32_t>(id);
    audio.setProcess(id, {.runningInput = true, .pid = pid, .bundleID = bundleID});
    audio.fireProcesses();
}

void AppScene::releasesTheMicrophone(const std::string& bundleID) {
    const auto id = audioProcesses_.at(bundleID);
    audio.setRunningInput(id, false);
    audio.fireRunningInput(id);
}

void AppScene::showsWindow(const std::string& bundleID, const std::string& title) {
    windows.records = {
        WindowRecord{.ownerPid = std::nullopt, .ownerBundleID = bundleID, .name = title}};
}

void AppScene::userAnswers(const std::string& label, bool record) {
    notifications.respondToAsk(label, record ? Notifier::recordAction : Notifier::skipAction);
}

void AppScene::recordZoomCall() {
    launch();
    zoomTakesTheMicrophone();
    runFor(std::chrono::seconds{5});
    if (!model().sessionState.get().isRecording() || captured.empty()) {
        throw std::logic_error{"the call is not being recorded"};
    }
}

void AppScene::deviceDies() {
    capture.session().fireRuntimeError(PlatformError{
        .domain = "FFmpeg", .code = -19, .description = "No such device", .underlying = {}});
}

void AppScene::writingStops() {
    capture.output().finish();
}

Sidecar AppScene::sidecar(const std::string& baseName) const {
    auto read = SidecarStore::read(files, folder.sidecarURL(baseName));
    if (!read) {
        throw std::logic_error{"no sidecar " + baseName + ": " + read.error().description()};
    }
    return *std::move(read);
}

std::vector<std::string> AppScene::camerasUsed() const {
    std::vector<std::string> cameras;
    for (const auto& path : captured) {
        cameras.push_back(sidecar(path.stem().string()).videoDevice);
    }
    return cameras;
}

std::vector<std::string> AppScene::folderContents() const {
    std::vector<std::string> names;
    for (const auto& path : files.files()) {
        if (path.parent_path() == folder.root) {
            names.push_back(path.filename().string());
        }
    }
    return names;
}

std::vector<std::string> AppScene::notices() const {
    std::vector<std::string> texts;
    for (const auto& request : notifications.posted) {
        if (!request.categoryIdentifier) {
            const bool asAlways = request.title == "Brindle Recorder";
            texts.push_back(asAlways ? request.body : request.title + ": " + request.body);
        }
    }
    return texts;
}

std::vector<std::string> AppScene::linesAbout(std::string_view beginning) const {
    auto lines = diagnostics.messages();
    std::erase_if(lines, [&](const auto& line) { return !line.starts_with(beginning); });
    return lines;
}

std::string AppScene::sessionInWords() {
    return inWords(model().sessionState.get());
}

} // namespace brindle::test
