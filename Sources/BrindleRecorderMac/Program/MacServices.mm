#include "BrindleRecorderMac/Program/MacServices.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/EventLog.hpp"
#include "BrindleRecorderApp/Recording/Recorder.hpp"
#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "BrindleRecorderCore/Base/HomeDirectory.hpp"
#include "BrindleRecorderCore/Base/SerialQueue.hpp"
#include "BrindleRecorderCore/Base/SteadyDateProvider.hpp"
#include "BrindleRecorderMac/AVFoundation/AVCaptureSystem.hpp"
#include "BrindleRecorderMac/AVFoundation/AVMovieExporter.hpp"
#include "BrindleRecorderMac/CoreAudio/CoreAudioObjects.hpp"
#include "BrindleRecorderMac/CoreGraphics/QuartzWindowList.hpp"
#include "BrindleRecorderMac/Dispatch/ContinuousClock.hpp"
#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/UserDefaultsStore.hpp"
#include "BrindleRecorderMac/Foundation/VolumeFileManager.hpp"
#include "BrindleRecorderMac/IOKit/PowerEvents.hpp"
#include "BrindleRecorderMac/Processes/RunningProcessRegistry.hpp"
#include "BrindleRecorderMac/ServiceManagement/MainAppService.hpp"
#include "BrindleRecorderMac/UnifiedLog/UnifiedSystemLog.hpp"
#include "BrindleRecorderMac/UserNotifications/NotificationCenter.hpp"

#include <string>

namespace brindle {

class MacServices::Implementation {
  public:
    Implementation() = default;
    ~Implementation() { diagnosticLog.flush(); }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    DispatchMainLoop mainLoop;
    const SystemDateProvider wallClock{};
    SteadyDateProvider clock{wallClock, timeSinceBoot};
    VolumeFileManager files;
    DiagnosticLog& diagnosticLog = DiagnosticLog::shared();
    UnifiedSystemLog systemLog{std::string{AppInfo::bundleIdentifier}.c_str()};
    const EventLog log{diagnosticLog, systemLog, clock};
    const RunningProcessRegistry processes{};
    CoreAudioObjects audioObjects;
    const QuartzWindowList windows{};
    AVCaptureSystem captureSystem{[this](const std::string& line) {
        log.both(EventLog::Level::error, line);
    }};
    SerialQueue captureSessionQueue{Recorder::sessionQueueLabel};
    AVMovieExporter exporter;
    NotificationCenter notifications;
    // Preferences and what the program remembers for itself have keys of their own.
    UserDefaultsStore defaults{[NSUserDefaults standardUserDefaults]};
    MainAppService loginItems;
    PowerEvents powerEvents;
};

MacServices::MacServices() : implementation_{std::make_unique<Implementation>()} {}

MacServices::~MacServices() = default;

AppEnvironment MacServices::environment(Workspace& workspace) {
    auto& own = *implementation_;
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
        .notifications = own.notifications,
        .defaults = own.defaults,
        .state = own.defaults,
        .loginItems = own.loginItems,
        .workspace = workspace,
        .systemEvents = &own.powerEvents,
        .takeOverWallTime = [&clock = own.clock] { clock.takeOverWallTime(); },
    };
}

std::filesystem::path MacServices::supportFolder() {
    auto folder = homeDirectory() / "Library" / "Application Support" / "Brindle Recorder";
    // Whoever needs it tells of a folder that is not there.
    static_cast<void>(VolumeFileManager{}.createDirectory(folder));
    return folder;
}

} // namespace brindle
