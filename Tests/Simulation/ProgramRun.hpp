// One run of the program: the real application on a simulated desktop, from launch to death.
#pragma once

#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderCore/Base/DiagnosticLog.hpp"
#include "BrindleRecorderCore/Base/SteadyDateProvider.hpp"
#include "Simulation/Scene.hpp"
#include "Simulation/SimulatedCapture.hpp"
#include "Simulation/SimulatedDisk.hpp"
#include "Simulation/SimulatedExporter.hpp"
#include "Simulation/Timeline.hpp"
#include "Support/FakeLoginItems.hpp"
#include "Support/FakeSystemEvents.hpp"
#include "Support/FakeUserNotifications.hpp"
#include "Support/FakeWorkspace.hpp"
#include "Support/InMemoryDefaultsStore.hpp"

#include <memory>

namespace brindle::simulation {

/// The services that outlive a run of the program.
struct Desktop {
    AudioObjects& audioObjects;
    ProcessRegistry& processRegistry;
    WindowList& windowList;
    DefaultsStore& defaults;
};

class ProgramRun {
  public:
    ProgramRun(Scene& scene, const Desktop& desktop);
    /// Nothing that the program does on its way out reaches the disk.
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    [[nodiscard]] AppModel& model() { return *model_; }
    [[nodiscard]] SimulatedMainLoop& mainLoop() { return mainLoop_; }
    [[nodiscard]] SimulatedQueue& queue() { return queue_; }
    [[nodiscard]] SimulatedDisk& disk() { return disk_; }
    [[nodiscard]] SimulatedCaptureSystem& capture() { return capture_; }
    [[nodiscard]] const ExportWorker& exportWorker() const { return exporter_.worker(); }
    [[nodiscard]] test::FakeUserNotifications& notifications() { return notifications_; }
    [[nodiscard]] test::FakeSystemEvents& systemEvents() { return systemEvents_; }

  private:
    class LogToHistory;
    class NoSystemLog;

    Scene& scene_;
    SteadyDateProvider clock_;
    SimulatedMainLoop mainLoop_;
    SimulatedQueue queue_;
    SimulatedDisk disk_;
    SimulatedCaptureSystem capture_;
    SimulatedExporter exporter_;
    test::FakeUserNotifications notifications_;
    test::InMemoryDefaultsStore state_;
    test::FakeLoginItems loginItems_;
    test::FakeWorkspace workspace_;
    test::FakeSystemEvents systemEvents_;
    std::unique_ptr<LogToHistory> logFiles_;
    std::unique_ptr<DiagnosticLog> diagnosticLog_;
    std::unique_ptr<NoSystemLog> systemLog_;
    std::unique_ptr<AppModel> model_;
};

} // namespace brindle::simulation
