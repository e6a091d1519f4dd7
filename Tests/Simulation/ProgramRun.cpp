#include "Simulation/ProgramRun.hpp"

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"
#include "Support/ForwardingFileManager.hpp"
#include "Support/InlineExecutor.hpp"

#include <optional>
#include <string>
#include <utility>

namespace brindle::simulation {

/// The diagnostic log's lines become a part of the history, and tell which movie is being ended.
class ProgramRun::LogToHistory final : public test::ForwardingFileManager {
  public:
    explicit LogToHistory(Scene& scene) : ForwardingFileManager{scene.logFiles}, scene_{scene} {}

    Expected<void, FileError>
    appendToFile(const std::filesystem::path& /*path*/, std::string_view contents) override {
        noteEnding(contents);
        constexpr std::size_t timeSize = 30;
        if (scene_.keepsHistory()) {
            const auto message = contents.find(' ');
            scene_.note(
                "log: {}", contents.substr(
                               message < timeSize ? message + 1 : 0,
                               contents.size() - 1 - (message < timeSize ? message + 1 : 0)));
        }
        return {};
    }

  private:
    void noteEnding(std::string_view line) {
        constexpr std::string_view ending = "end recording: ";
        const auto found = line.find(ending);
        if (found == std::string_view::npos) {
            return;
        }
        const std::string_view rest = line.substr(found + ending.size());
        scene_.ending.emplace(rest.substr(0, rest.find(' ')));
    }

    Scene& scene_;
};

class ProgramRun::NoSystemLog final : public SystemLog {
  public:
    void write(Level /*level*/, std::string_view /*line*/) override {}
};

ProgramRun::ProgramRun(Scene& scene, const Desktop& desktop)
    : scene_{scene},
      clock_{
          scene.wallClock,
          [&scene] {
              return scene.timeline.now().time_since_epoch();
          }},
      mainLoop_{scene.timeline}, disk_{scene},
      capture_{CaptureContext{
          .scene = scene,
          .disk = disk_,
          .mainLoop = mainLoop_,
          .programRecords =
              [this](const std::string& room) {
                  if (!model_ || scene_.asleep) {
                      return false;
                  }
                  // A call that was stopped may still be closing its file when the next is
                  // recorded.
                  const SessionState& state = model_->sessionState.get();
                  return state.isRecording() && state.roomCode() == room;
              },
          .sessionRecords = [this] { return model_ && model_->sessionState.get().isRecording(); },
          .sessionRoom =
              [this] {
                  const SessionState state = model_ ? model_->sessionState.get() : SessionState{};
                  return state.isRecording() ? state.roomCode().value_or("") : std::string{};
              },
          .sidecarOf = [sceneAt = &scene](const std::string& baseName) -> std::optional<Sidecar> {
              auto sidecar =
                  SidecarStore::read(sceneAt->files, sceneAt->root / (baseName + ".json"));
              return sidecar ? std::optional{*std::move(sidecar)} : std::nullopt;
          }}},
      exporter_{scene, disk_, mainLoop_}, logFiles_{std::make_unique<LogToHistory>(scene)},
      diagnosticLog_{std::make_unique<DiagnosticLog>(
          "/log", "recorder.log", 1'000'000, *logFiles_, std::make_unique<test::InlineExecutor>())},
      systemLog_{std::make_unique<NoSystemLog>()} {
    scene.outside = std::make_shared<int>();
    model_ = std::make_unique<AppModel>(
        AppEnvironment{
            .mainLoop = mainLoop_,
            .dateProvider = clock_,
            .fileManager = disk_,
            .diagnosticLog = *diagnosticLog_,
            .systemLog = *systemLog_,
            .audioObjects = desktop.audioObjects,
            .processRegistry = desktop.processRegistry,
            .windowList = desktop.windowList,
            .captureSystem = capture_,
            .captureSessionQueue = queue_,
            .movieExporter = exporter_,
            .notifications = notifications_,
            .defaults = desktop.defaults,
            .state = state_,
            .loginItems = loginItems_,
            .workspace = workspace_,
            .systemEvents = &systemEvents_,
            .currentTimeZone = TimeZone::utc,
            .takeOverWallTime = [this] { clock_.takeOverWallTime(); },
        },
        RecordingsFolder{scene.root});
}

ProgramRun::~ProgramRun() {
    disk_.die();
    model_.reset();
}

} // namespace brindle::simulation
