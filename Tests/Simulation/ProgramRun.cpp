#include "Simulation/ProgramRun.hpp"

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/Platform/SystemLog.hpp"
#include "BrindleRecorderCore/SidecarStore.hpp"
#include "Support/InlineExecutor.hpp"

namespace brindle::simulation {

/// The diagnostic log's lines become a part of the history.
class ProgramRun::LogToHistory final : public FileManager {
  public:
    explicit LogToHistory(Scene& scene) : scene_{scene} {}

    Expected<void, FileError>
    appendToFile(const std::filesystem::path& /*path*/, std::string_view contents) override {
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
    [[nodiscard]] Expected<std::vector<DirectoryEntry>, FileError>
    contentsOfDirectory(const std::filesystem::path& /*directory*/) const override {
        return std::vector<DirectoryEntry>{};
    }
    [[nodiscard]] bool fileExists(const std::filesystem::path& /*path*/) const override {
        return true;
    }
    [[nodiscard]] Expected<std::int64_t, FileError>
    fileSize(const std::filesystem::path& /*path*/) const override {
        return 0;
    }
    [[nodiscard]] Expected<Date, FileError>
    modificationDate(const std::filesystem::path& /*path*/) const override {
        return Date{};
    }
    [[nodiscard]] Expected<std::string, FileError>
    readFile(const std::filesystem::path& /*path*/, std::int64_t /*maxBytes*/) const override {
        return std::string{};
    }
    Expected<void, FileError> createDirectory(const std::filesystem::path& /*directory*/) override {
        return {};
    }
    Expected<void, FileError> createSyncedFile(
        const std::filesystem::path& /*path*/, std::string_view /*contents*/) override {
        return {};
    }
    Expected<void, FileError>
    moveFile(const std::filesystem::path& /*from*/, const std::filesystem::path& /*to*/) override {
        return {};
    }
    Expected<void, FileError> removeFile(const std::filesystem::path& /*path*/) override {
        return {};
    }
    Expected<void, FileError> syncDirectory(const std::filesystem::path& /*directory*/) override {
        return {};
    }
    [[nodiscard]] Expected<std::optional<std::int64_t>, FileError>
    availableCapacity(const std::filesystem::path& /*path*/) const override {
        return std::nullopt;
    }

  private:
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
              [this] {
                  return model_ && !scene_.asleep && model_->sessionState.get().isRecording();
              },
          .roomOf =
              [sceneAt = &scene](const std::string& baseName) {
                  const auto sidecar =
                      SidecarStore::read(sceneAt->files, sceneAt->root / (baseName + ".json"));
                  return sidecar ? sidecar->roomCode : std::string{};
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
