#include "BrindleRecorderLinux/CommandLine/DiagnoseCommand.hpp"

#include "BrindleRecorderApp/Calls/ProgramName.hpp"
#include "BrindleRecorderApp/Words/Diagnosis.hpp"
#include "BrindleRecorderCore/Base/ByteCount.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderCore/Base/HomeDirectory.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Cameras/CameraStreams.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"
#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServer.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServerStateText.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireOnLoop.hpp"
#include "BrindleRecorderLinux/Portal/Sandbox.hpp"
#include "BrindleRecorderLinux/Processes/FileUsers.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Processes/ProgramOutput.hpp"
#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <sys/utsname.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle {

namespace {

using Fact = Diagnosis::Fact;
using pipewire::AudioGraph;
using pipewire::NodeRecord;
using pipewire::property;

constexpr const char* unknown = "unknown";
constexpr std::size_t mostFailures = 10;
constexpr std::int64_t mostLogBytes = 10'000'000; // more than the log ever has
constexpr std::int64_t mostReleaseBytes = 65536;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : unknown;
}

std::string kernel() {
    utsname name{};
    return uname(&name) == 0 ? fmt::format("{} {} {}", name.sysname, name.release, name.machine)
                             : unknown;
}

/// The name of the distribution, as os-release(5) has it.
std::string distribution(FileManager& files) {
    constexpr std::string_view key = "PRETTY_NAME=";
    const auto contents = files.readFile("/etc/os-release", mostReleaseBytes);
    const auto place = contents ? contents->find(key) : std::string::npos;
    if (place == std::string::npos || (place != 0 && (*contents)[place - 1] != '\n')) {
        return unknown;
    }
    std::string value = contents->substr(place + key.size());
    value.resize(std::min(value.find('\n'), value.size()));
    std::erase(value, '"');
    return value;
}

/// The last line of what the program says to "--version", where the libraries that it runs with
/// stand.
std::string versionOf(const char* program) {
    auto text = outputOf({program, "--version"}).value_or("");
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    const auto lineBreak = text.rfind('\n');
    text.erase(0, lineBreak == std::string::npos ? 0 : lineBreak + 1);
    return text.empty() ? unknown : text;
}

/// Texts that others on the session bus tell of themselves. Nobody is started for it.
class SessionBus {
  public:
    SessionBus() {
        sd_bus* bus = nullptr;
        if (sd_bus_open_user(&bus) >= 0) {
            bus_.reset(bus);
        }
    }

    [[nodiscard]] std::string notificationServer() const {
        constexpr const char* name = "org.freedesktop.Notifications";
        const auto answer =
            ask(name, "/org/freedesktop/Notifications", name, "GetServerInformation", "");
        const char* program = nullptr;
        const char* vendor = nullptr;
        const char* version = nullptr;
        const char* protocol = nullptr;
        if (answer == nullptr ||
            sd_bus_message_read(answer.get(), "ssss", &program, &vendor, &version, &protocol) <=
                0) {
            return bus_ != nullptr ? "none" : "there is no session bus";
        }
        return fmt::format("{} {} ({})", program, version, vendor);
    }

    [[nodiscard]] std::string tray() const {
        constexpr const char* name = "org.kde.StatusNotifierWatcher";
        const auto answer =
            ask(name, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "Get", "ss",
                name, "IsStatusNotifierHostRegistered");
        int isThere = 0; // the wire's booleans have the size of an int
        if (answer == nullptr || sd_bus_message_read(answer.get(), "v", "b", &isThere) <= 0) {
            return bus_ != nullptr ? "none on the session bus" : "there is no session bus";
        }
        return isThere != 0 ? "on the session bus"
                            : "a register of icons, and no panel that shows them";
    }

  private:
    template <class... Arguments>
    [[nodiscard]] BusMessage
    ask(const char* name, const char* object, const char* interface, const char* method,
        const char* types, Arguments... arguments) const {
        sd_bus_message* made = nullptr;
        if (bus_ == nullptr || sd_bus_message_new_method_call(
                                   bus_.get(), &made, name, object, interface, method) < 0) {
            return nullptr;
        }
        const BusMessage question{made};
        sd_bus_message* answer = nullptr;
        if (sd_bus_message_set_auto_start(made, 0) < 0 ||
            sd_bus_message_append(made, types, arguments...) < 0 ||
            sd_bus_call(bus_.get(), made, 0, nullptr, &answer) < 0) {
            return nullptr;
        }
        return BusMessage{answer};
    }

    BusHandle bus_;
};

std::string runningCopy() {
    struct Close {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };
    // Whether it runs is all that is asked; that it does not is no error here.
    const std::unique_ptr<std::FILE, Close> nowhere{std::fopen("/dev/null", "w")};
    RunningCopy program{nowhere != nullptr ? nowhere.get() : stderr};
    const auto properties = program.properties();
    if (!properties) {
        return program.status() == ExitStatus::notRunning ? "no copy runs" : unknown;
    }
    const auto value = [&](std::string_view name) {
        const auto found = properties->find(name);
        return found != properties->end() ? found->second : std::string{};
    };
    auto text = fmt::format("version {}, {}", value("Version"), value("State"));
    for (const auto* const name : {"Problem", "Warning"}) {
        if (const auto words = value(name); !words.empty()) {
            text += '\n' + words;
        }
    }
    return text;
}

std::string soundServer(pipewire::AudioServerState state) {
    constexpr std::string_view name = "sound server: ";
    std::string_view text = pipewire::describe(state);
    text.remove_prefix(text.starts_with(name) ? name.size() : 0);
    return std::string{text};
}

std::string sessionManager(const AudioGraph& graph) {
    for (const auto& client : graph.clients) {
        const auto name = property(client.properties, "application.name");
        if (name.starts_with("WirePlumber")) {
            return versionOf("wireplumber");
        }
        if (name == "pipewire-media-session") {
            return std::string{name};
        }
    }
    return unknown;
}

/// Programs that get its pictures from the sound server, and such that hold the device themselves.
std::string
holdersOf(const NodeRecord& camera, const AudioGraph& graph, const ProcProcessRegistry& processes) {
    std::set<std::string> names = pipewire::programsThatWatch(camera, graph);
    if (const auto device = property(camera.properties, "api.v4l2.path"); !device.empty()) {
        for (const FileUser& user : FileUsers::of(device)) {
            const auto name = ProgramName::of(user.pid, processes);
            names.insert(name.value_or(fmt::format("process {}", user.pid)));
        }
    }
    return fmt::format("{}", fmt::join(names, ", "));
}

std::string interfaceOf(const NodeRecord& node) {
    for (const auto* const api : {"v4l2", "libcamera", "alsa", "bluez5"}) {
        if (property(node.properties, "node.name").starts_with(api) ||
            property(node.properties, "device.api") == api) {
            return api;
        }
    }
    return "virtual or unknown interface";
}

bool isCamera(const NodeRecord& node) {
    return property(node.properties, "media.class") == "Video/Source";
}
bool isMicrophone(const NodeRecord& node) {
    return property(node.properties, "media.class").starts_with("Audio/Source");
}

std::string listed(
    const AudioGraph& graph, bool (*isWanted)(const NodeRecord&),
    const std::optional<std::string>& preferred, const ProcProcessRegistry& processes) {
    std::string text;
    for (const auto* const node : pipewire::devicesOf(graph, isWanted)) {
        const auto name = property(node->properties, "node.name");
        text += fmt::format(
            "{}, {}{}", property(node->properties, "node.description"), interfaceOf(*node),
            preferred == name ? ", the system's default" : "");
        if (isWanted == &isCamera) {
            const auto holders = holdersOf(*node, graph, processes);
            text += holders.empty() ? ", held by nobody" : ", held by " + holders;
        }
        text += '\n';
    }
    return text;
}

/// The recorder tells the system's log what a camera delivers, and nobody else.
std::string lastAgreement() {
    auto text = outputOf({"journalctl", "--quiet", "--no-pager", "--identifier=brindle-recorder",
                          "--output=cat", "--grep=^the camera delivers ", "--lines=1"})
                    .value_or("");
    return text.empty() ? unknown : text;
}

std::string freeSpace(const FileManager& files) {
    // The folder need not be there yet.
    for (auto folder = RecordingsFolder::defaultRoot(); !folder.empty();
         folder = folder.parent_path()) {
        const auto bytes = files.availableCapacity(folder);
        if (bytes && *bytes) {
            return ByteCount::format(**bytes, Language::english());
        }
        if (folder == folder.root_path()) {
            break;
        }
    }
    return unknown;
}

std::string lastFailures(FileManager& files) {
    const auto log = files.readFile(
        homeDirectory() / "Library/Logs/Brindle Recorder/recorder.log", mostLogBytes);
    return fmt::format("{}", fmt::join(Diagnosis::failures(log.value_or(""), mostFailures), "\n"));
}

} // namespace

void DiagnoseCommand::run() const {
    const ProcProcessRegistry processes;
    const pipewire::PipeWireOnLoop pipeWire{mainLoop};
    const pipewire::AudioServer server{
        mainLoop, pipeWire.get(), pipewire::AudioServer::Options::ofThisSession(),
        [this](pipewire::AudioServerState) {
            mainLoop.quit();
        }};
    const DesktopWindowList windows{processes, mainLoop, [&server] {
                                        return server.graph();
                                    }};
    mainLoop.run();
    static const AudioGraph nothing;
    const auto known = server.graph();
    const AudioGraph& graph = known ? *known : nothing;
    const SessionBus bus;

    const std::vector<Fact> facts{
        {"brindle-recorder", capture::programVersion()},
        {"running copy", runningCopy()},
        {"capture program", outputOf({captureProgram.string(), "--version"}).value_or(unknown)},
        {"kernel", kernel()},
        {"distribution", distribution(files)},
        {"sandbox", Sandbox::aroundThisProcess().exists() ? "yes" : "no"},
        {"desktop",
         fmt::format("{}, {}", variable("XDG_CURRENT_DESKTOP"), variable("XDG_SESSION_TYPE"))},
        {"tray", bus.tray()},
        {"notification server", bus.notificationServer()},
        {"window titles", windows.titlesPermitted() ? "can be read" : "cannot be read"},
        {"sound server", soundServer(server.state())},
        {"PipeWire", versionOf("pipewire")},
        {"session manager", sessionManager(graph)},
        {"cameras", listed(graph, &isCamera, graph.defaultCameraName, processes)},
        {"last agreed with a camera", lastAgreement()},
        {"microphones", listed(graph, &isMicrophone, graph.defaultSourceName, processes)},
        {"free space", freeSpace(files)},
        {"last failures", lastFailures(files)},
    };
    for (const auto& line : Diagnosis::lines(facts, homeDirectory())) {
        printLine(output, line);
    }
}

} // namespace brindle
