#include "BrindleRecorderLinux/CommandLine/DevicesCommand.hpp"

#include "BrindleRecorderApp/Async/JobChain.hpp"
#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Calls/ProgramName.hpp"
#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Words/DeviceReport.hpp"
#include "BrindleRecorderApp/Words/EncoderTexts.hpp"
#include "BrindleRecorderLinux/Cameras/CameraStreams.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CaptureChild/ChildVideoEncoders.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Devices/PipeWireCaptureSystem.hpp"
#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServerStateText.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Sound/PipeWireAudioObjects.hpp"
#include "BrindleRecorderLinux/SystemLog/SyslogSystemLog.hpp"

#include <fmt/format.h>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace brindle {

namespace {

constexpr const char* somebody = "another program";

using Users = std::map<std::string, std::set<std::string>>;

/// Those who get a camera's pictures from the sound server, and who has the device itself.
Users usersOf(
    const DeviceCatalog::Devices& cameras, const pipewire::AudioGraph& graph,
    const CaptureSystem& captureSystem, const ProcessRegistry& processes) {
    Users users;
    for (const CaptureDeviceInfo& camera : cameras) {
        std::set<std::string> names;
        if (const auto* const node = pipewire::cameraWithID(graph, camera.uniqueID)) {
            names = pipewire::programsThatWatch(*node, graph);
        }
        if (const auto holder = captureSystem.holderOf(camera.uniqueID)) {
            names.insert(ProgramName::of(*holder, processes).value_or(somebody));
        }
        if (!names.empty()) {
            users[camera.uniqueID] = std::move(names);
        }
    }
    return users;
}

} // namespace

bool DevicesCommand::run() const {
    JsonDefaultsStore defaults{
        files, JsonDefaultsStore::standardFile(), [this](const std::string& line) {
            printLine(errors, "brindle-recorder: " + line);
        }};
    const Settings settings{defaults};
    SyslogSystemLog systemLog;
    const ProcProcessRegistry processes;

    const pipewire::PipeWireOnLoop pipeWire{mainLoop};
    bool isKnown = false; // what comes later must not end another wait
    const pipewire::AudioServer server{
        mainLoop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession(),
        [this, &isKnown](pipewire::AudioServerState) {
            if (!std::exchange(isKnown, true)) {
                mainLoop.quit();
            }
        }};
    const PipeWireAudioObjects audioObjects{server, processes};
    PipeWireCaptureSystem captureSystem{mainLoop, server, systemLog, children};
    mainLoop.run();
    const auto state = server.state();
    if (state == pipewire::AudioServerState::connecting) {
        return false; // interrupted
    }
    if (state == pipewire::AudioServerState::unreachable) {
        printLine(errors, "brindle-recorder: no PipeWire server answers");
        return false;
    }
    if (state != pipewire::AudioServerState::serving) {
        printLine(errors, fmt::format("brindle-recorder: {}", pipewire::describe(state)));
    }

    const auto graph = server.graph();
    const DeviceCatalog catalog{captureSystem, audioObjects};
    const auto print = [this](const DeviceReport::Choice& choice) {
        for (const std::string& line : DeviceReport::lines(choice)) {
            printLine(output, line);
        }
    };
    print(
        {.kind = "camera",
         .devices = catalog.cameras().get(),
         .preferredID = settings.preferredVideoDeviceID.get(),
         .defaultID = DeviceSelection::idOf(catalog.systemDefaultCamera().get()),
         .users = usersOf(
             catalog.cameras().get(), graph ? *graph : pipewire::AudioGraph{}, captureSystem,
             processes)});
    print(
        {.kind = "microphone",
         .devices = catalog.microphones().get(),
         .preferredID = settings.preferredAudioDeviceID.get(),
         .defaultID = DeviceSelection::idOf(catalog.systemDefaultMicrophone().get())});
    return printEncoders();
}

bool DevicesCommand::printEncoders() const {
    if (!children.isUsable()) {
        printLine(errors, "brindle-recorder: the capture program is missing");
        return false;
    }
    ChildVideoEncoders encoders{mainLoop, children};
    std::optional<EncoderSearch::Outcome> outcome;
    JobChain work{mainLoop};
    work.enqueue([&]() -> Task<void> {
        outcome = co_await EncoderSearch::run(encoders, EncoderSearch::Extent::withTheUnchosen);
        mainLoop.quit();
    });
    mainLoop.run();
    if (!outcome) {
        return false; // interrupted
    }
    for (const std::string& line : EncoderTexts::lines(*outcome)) {
        printLine(output, line);
    }
    return true;
}

} // namespace brindle
