#include "BrindleRecorderLinux/CommandLine/DevicesCommand.hpp"

#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"
#include "BrindleRecorderApp/Settings.hpp"
#include "BrindleRecorderApp/Words/DeviceReport.hpp"
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
#include <optional>
#include <string>

namespace brindle {

bool DevicesCommand::run() const {
    JsonDefaultsStore defaults{
        files, JsonDefaultsStore::standardFile(), [this](const std::string& line) {
            printLine(errors, "brindle-recorder: " + line);
        }};
    const Settings settings{defaults};
    SyslogSystemLog systemLog;
    const ProcProcessRegistry processes;

    const pipewire::PipeWireOnLoop pipeWire{mainLoop};
    const pipewire::AudioServer server{
        mainLoop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession(),
        [this](pipewire::AudioServerState) {
            mainLoop.quit();
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
         .defaultID = DeviceSelection::idOf(catalog.systemDefaultCamera().get())});
    print(
        {.kind = "microphone",
         .devices = catalog.microphones().get(),
         .preferredID = settings.preferredAudioDeviceID.get(),
         .defaultID = DeviceSelection::idOf(catalog.systemDefaultMicrophone().get())});
    return true;
}

} // namespace brindle
