#include "BrindleRecorderLinux/CommandLine/StatusCommand.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/Words/MenuTexts.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"
#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

using Properties = RunningCopy::Properties;
using Json = nlohmann::ordered_json;

constexpr const char* standardProperties = "org.freedesktop.DBus.Properties";

std::string text(const Properties& properties, std::string_view name) {
    const auto found = properties.find(name);
    return found != properties.end() ? found->second : std::string{};
}

/// What is empty on the bus is null in JSON, where it may be absent.
Json textOrNull(const Properties& properties, std::string_view name) {
    auto value = text(properties, name);
    // In braces the text would become a list of one.
    return value.empty() ? Json(nullptr) : Json(std::move(value));
}

Json described(const std::optional<Properties>& status) {
    if (!status) {
        return {{"running", false}};
    }
    return {
        {"running", true},
        {"version", text(*status, "Version")},
        {"state", text(*status, "State")},
        {"statusLine", text(*status, "StatusLine")},
        {"call", textOrNull(*status, "Call")},
        {"camera", text(*status, "Camera")},
        {"microphone", text(*status, "Microphone")},
        {"warning", textOrNull(*status, "Warning")},
        {"problem", textOrNull(*status, "Problem")},
        {"question", textOrNull(*status, "Question")},
        {"folder", text(*status, "Folder")},
    };
}

void print(const StatusCommand& command, const std::optional<Properties>& status) {
    if (command.json) {
        printLine(command.output, described(status).dump());
        return;
    }
    if (!status) {
        printLine(command.output, "Not running");
        return;
    }
    printLine(command.output, text(*status, "StatusLine"));
    if (const auto warning = text(*status, "Warning"); !warning.empty()) {
        printLine(command.output, MenuTexts::warning(warning));
    }
}

/// Asks again whenever something has changed, and prints what differs.
class Watch {
  public:
    Watch(const StatusCommand& command, Bus& bus)
        : command_{command}, calls_{bus}, service_{
                                              bus, std::string{AppInfo::bundleIdentifier}, [this] {
                                                  ask();
                                              }} {}

    [[nodiscard]] bool begin() {
        const bool follows = service_.follow(
            ControlDescription::path, standardProperties, "PropertiesChanged",
            [this](sd_bus_message*) { ask(); });
        ask();
        return follows && isAsking_;
    }

  private:
    void ask() {
        if (std::exchange(isAsking_, true)) {
            asksAgain_ = true;
            return;
        }
        auto question = calls_.make(
            std::string{AppInfo::bundleIdentifier}, ControlDescription::path, standardProperties,
            "GetAll");
        if (question != nullptr) {
            sd_bus_message_set_auto_start(question.get(), 0);
            sd_bus_message_append(question.get(), "s", ControlDescription::interface);
        }
        isAsking_ = calls_.send(std::move(question), [this](sd_bus_message* answer) {
            take(isAnswer(answer) ? RunningCopy::readProperties(answer) : std::nullopt);
        });
    }

    void take(std::optional<Properties> status) {
        isAsking_ = false;
        if (!std::exchange(hasPrinted_, true) || status != last_) {
            last_ = std::move(status);
            print(command_, last_);
        }
        if (std::ferror(command_.output) != 0) {
            command_.mainLoop.quit(); // nobody reads any more
        } else if (std::exchange(asksAgain_, false)) {
            ask();
        }
    }

    const StatusCommand& command_;
    BusCalls calls_;
    BusService service_;
    bool isAsking_ = false;
    bool asksAgain_ = false;
    bool hasPrinted_ = false;
    std::optional<Properties> last_;
};

} // namespace

ExitStatus StatusCommand::run() const {
    if (!watch) {
        RunningCopy program{errors};
        const auto status = program.properties();
        if (status || (json && program.status() == ExitStatus::notRunning)) {
            print(*this, status);
        }
        return program.status();
    }
    BusOnLoop bus{mainLoop, BusOnLoop::Which::session};
    std::optional<Watch> following;
    if (bus.isConnected()) {
        following.emplace(*this, bus);
    }
    if (!following || !following->begin()) {
        printLine(errors, notRunning);
        return ExitStatus::notRunning;
    }
    mainLoop.run();
    return ExitStatus::success;
}

} // namespace brindle
