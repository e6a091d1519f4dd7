#include "BrindleRecorderLinux/Program/RecorderServices.hpp"

#include "BrindleRecorderApp/Calls/SoundServerNotice.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"
#include "BrindleRecorderCore/Base/SteadyDateProvider.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildMovieExporter.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildVideoEncoders.hpp"
#include "BrindleRecorderLinux/Devices/PipeWireCaptureSystem.hpp"
#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"
#include "BrindleRecorderLinux/Logind/LogindSystemEvents.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServerStateText.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Portal/CameraPortal.hpp"
#include "BrindleRecorderLinux/Portal/Sandbox.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Program/LinuxWords.hpp"
#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "BrindleRecorderLinux/Sound/PlaybackAsDefault.hpp"
#include "BrindleRecorderLinux/SystemLog/SyslogSystemLog.hpp"
#include "BrindleRecorderLinux/Time/BootClock.hpp"
#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brindle {

class RecorderServices::Implementation {
  public:
    explicit Implementation(EventLoop& loop) : mainLoop{loop} {}
    ~Implementation() { diagnosticLog.flush(); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    EventLoop& mainLoop;
    const SystemDateProvider wallClock;
    SteadyDateProvider clock{wallClock, timeSinceBoot};
    PosixFileManager files;
    DiagnosticLog& diagnosticLog = DiagnosticLog::shared();
    SyslogSystemLog systemLog;
    const EventLog log{diagnosticLog, systemLog, clock};
    const ProcProcessRegistry processes{mainLoop};
    const pipewire::PipeWireOnLoop pipeWire{mainLoop};
    std::optional<SoundServerNotice> soundNotice; ///< once there is somebody to tell
    const pipewire::AudioServer audioServer{
        mainLoop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession(),
        [this](pipewire::AudioServerState state) {
            log.both(EventLog::Level::info, pipewire::describe(state));
            noticeSound(state);
        }};
    const std::unique_ptr<CameraPortal> cameraPortal = makeCameraPortal();
    capture::CaptureChildren captureChildren{
        mainLoop, SiblingProgram::path(SiblingProgram::capture), [this](std::string_view line) {
            log.both(EventLog::Level::info, line);
        }};
    // Before those who notice calls, so that a recording begins with the devices of the moment.
    PipeWireCaptureSystem captureSystem{
        mainLoop, audioServer, systemLog, captureChildren, cameraPortal.get()};
    PipeWireAudioObjects audioObjects{audioServer, processes};
    std::optional<std::string> loudspeakerAsDefault;
    const std::unique_ptr<Observation> defaultObservation =
        audioServer.observe([this] { noticeDefaultMicrophone(); });
    const DesktopWindowList windows{processes, mainLoop, [this] {
                                        return audioServer.graph();
                                    }};
    LogindSystemEvents systemEvents{mainLoop};
    ChildMovieExporter exporter{mainLoop, systemLog, captureChildren};
    ChildVideoEncoders encoders{mainLoop, captureChildren};
    JsonDefaultsStore defaults{
        files, JsonDefaultsStore::standardFile(), [this](std::string_view line) {
            log.diagnostic(line);
        }};
    JsonDefaultsStore programState{
        files, JsonDefaultsStore::standardStateFile(), [this](std::string_view line) {
            log.diagnostic(line);
        }};
    SerialQueue captureSessionQueue{Recorder::sessionQueueLabel};

    /// None outside a sandbox.
    std::unique_ptr<CameraPortal> makeCameraPortal() {
        if (!Sandbox::aroundThisProcess().exists()) {
            return nullptr;
        }
        return std::make_unique<CameraPortal>(
            mainLoop, [this](std::string_view line) { log.both(EventLog::Level::info, line); });
    }

    /// Why the microphone that the desktop calls the default is not recorded.
    void noticeDefaultMicrophone() {
        const auto graph = audioServer.graph();
        auto found = graph ? pipewire::playbackAsDefault(*graph) : std::nullopt;
        if (found && found != loudspeakerAsDefault) {
            log.both(
                EventLog::Level::info,
                fmt::format(
                    "the default microphone is what {} plays, which is never recorded", *found));
        }
        loudspeakerAsDefault = std::move(found);
    }

    void noticeSound(pipewire::AudioServerState state) {
        if (soundNotice) {
            soundNotice->soundGoesElsewhere(
                state == pipewire::AudioServerState::pulseAudio ||
                state == pipewire::AudioServerState::withoutAudio);
        }
    }
};

RecorderServices::RecorderServices(EventLoop& mainLoop)
    : implementation_{std::make_unique<Implementation>(mainLoop)} {}

RecorderServices::~RecorderServices() = default;

AppEnvironment RecorderServices::environment(
    UserNotifications& notifications, LoginItems& loginItems, Workspace& workspace) {
    auto& own = *implementation_;
    if (!own.captureChildren.isUsable()) {
        own.log.both(
            EventLog::Level::error,
            fmt::format("{} is missing: nothing can be recorded", SiblingProgram::capture));
    }
    own.soundNotice.emplace(own.mainLoop, notifications);
    own.noticeSound(own.audioServer.state());
    return AppEnvironment{
        .mainLoop = own.mainLoop,
        .dateProvider = own.clock,
        .fileManager = own.files,
        .diagnosticLog = own.diagnosticLog,
        .systemLog = own.systemLog,
        .audioObjects = own.audioObjects,
        .processRegistry = own.processes,
        .windowList = own.windows,
        .captureSystem = own.captureSystem,
        .captureSessionQueue = own.captureSessionQueue,
        .movieExporter = own.exporter,
        .notifications = notifications,
        .defaults = own.defaults,
        .state = own.programState,
        .loginItems = loginItems,
        .workspace = workspace,
        .systemEvents = &own.systemEvents,
        .videoEncoders = own.captureChildren.isUsable() ? &own.encoders : nullptr,
        .takeOverWallTime = [&clock = own.clock] { clock.takeOverWallTime(); },
        .words = linuxWords(),
    };
}

const EventLog& RecorderServices::log() const {
    return implementation_->log;
}

FileManager& RecorderServices::fileManager() {
    return implementation_->files;
}

std::filesystem::path RecorderServices::recordingsFolder() {
    const RecordingsFolder folder{RecordingsFolder::defaultRoot()};
    // Whoever records tells of a folder that cannot be made.
    static_cast<void>(folder.createIfNeeded(implementation_->files));
    return folder.root;
}

} // namespace brindle
