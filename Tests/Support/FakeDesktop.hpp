// The desktop that the application meets in tests: everything on the other side of the seam.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "Support/FakeAudioObjects.hpp"
#include "Support/FakeDateProvider.hpp"
#include "Support/FakeLoginItems.hpp"
#include "Support/FakeProcessRegistry.hpp"
#include "Support/FakeSystemEvents.hpp"
#include "Support/FakeUserNotifications.hpp"
#include "Support/FakeWindowList.hpp"
#include "Support/FakeWorkspace.hpp"
#include "Support/InMemoryDefaultsStore.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/ManualExecutor.hpp"
#include "Support/ManualMainLoop.hpp"
#include "Support/MemoryDiagnosticLog.hpp"
#include "Support/RecordingSystemLog.hpp"
#include "Support/ScriptedCaptureSystem.hpp"
#include "Support/ScriptedMovieExporter.hpp"

namespace brindle::test {

/// Outlives every run of the program. It has no devices, no files and no user of the microphone.
struct FakeDesktop {
    FakeDateProvider clock;
    InMemoryFileManager files{clock};
    InMemoryDefaultsStore defaults;
    InMemoryDefaultsStore state;
    FakeAudioObjects audio;
    FakeProcessRegistry processes;
    FakeWindowList windows;
    FakeUserNotifications notifications;
    FakeLoginItems loginItems;
    FakeWorkspace workspace;
    FakeSystemEvents systemEvents;
    ScriptedCaptureSystem capture;
    MemoryDiagnosticLog diagnostics;
    RecordingSystemLog systemLog;
};

/// What one run of the program has for itself, and what it sees of the desktop.
struct FakeRun {
    explicit FakeRun(FakeDesktop& desktop) : FakeRun{desktop, desktop.files} {}
    /// With other files than the desktop's.
    FakeRun(FakeDesktop& desktop, FileManager& files)
        : loop{desktop.clock}, exporter{loop, desktop.files},
          environment{
              .mainLoop = loop,
              .dateProvider = desktop.clock,
              .fileManager = files,
              .diagnosticLog = desktop.diagnostics.log(),
              .systemLog = desktop.systemLog,
              .audioObjects = desktop.audio,
              .processRegistry = desktop.processes,
              .windowList = desktop.windows,
              .captureSystem = desktop.capture,
              .captureSessionQueue = captureQueue,
              .movieExporter = exporter,
              .notifications = desktop.notifications,
              .defaults = desktop.defaults,
              .state = desktop.state,
              .loginItems = desktop.loginItems,
              .workspace = desktop.workspace,
              .systemEvents = &desktop.systemEvents,
              .currentTimeZone = [] { return TimeZone::utc(); },
          } {}

    ManualMainLoop loop;
    ManualExecutor captureQueue{Recorder::sessionQueueLabel};
    ScriptedMovieExporter exporter;
    const AppEnvironment environment;
};

} // namespace brindle::test
