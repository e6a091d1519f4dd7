#include "BrindleRecorderLinux/CommandLine/RunningCopy.hpp"

#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Control/ControlDescription.hpp"

#include <cstddef>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

constexpr std::size_t mostProperties = 100;
constexpr std::size_t mostBytes = 4000; ///< of a text

class BusError {
  public:
    BusError() = default;
    ~BusError() { sd_bus_error_free(&error_); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    [[nodiscard]] sd_bus_error* get() { return &error_; }
    [[nodiscard]] bool saysThatNobodyIsThere() const {
        return sd_bus_error_has_names(
                   &error_, SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
    }
    [[nodiscard]] std::string words() const {
        return error_.message != nullptr ? error_.message : "it does not answer";
    }

  private:
    sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

} // namespace

RunningCopy::RunningCopy(std::FILE* errors) : errors_{errors} {
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) >= 0) {
        bus_.reset(bus);
    }
}

BusMessage RunningCopy::make(const char* object, const char* interface, const char* method) const {
    sd_bus_message* made = nullptr;
    if (bus_ == nullptr || sd_bus_message_new_method_call(
                               bus_.get(), &made, std::string{AppInfo::bundleIdentifier}.c_str(),
                               object, interface, method) < 0) {
        return nullptr;
    }
    BusMessage question{made};
    return sd_bus_message_set_auto_start(made, 0) >= 0 ? std::move(question) : nullptr;
}

BusMessage RunningCopy::answerTo(const BusMessage& question) {
    BusError error;
    sd_bus_message* answer = nullptr;
    if (sd_bus_call(bus_.get(), question.get(), 0, error.get(), &answer) >= 0) {
        status_ = ExitStatus::success;
        return BusMessage{answer};
    }
    if (error.saysThatNobodyIsThere()) {
        return refused();
    }
    printLine(errors_, "brindle-recorder: " + error.words());
    status_ = ExitStatus::couldNotRun;
    return nullptr;
}

BusMessage RunningCopy::refused() {
    printLine(errors_, notRunning);
    status_ = ExitStatus::notRunning;
    return nullptr;
}

std::optional<RunningCopy::Properties> RunningCopy::properties() {
    const BusMessage answer = call(
        ControlDescription::path, "org.freedesktop.DBus.Properties", "GetAll", "s",
        ControlDescription::interface);
    auto properties = answer != nullptr ? readProperties(answer.get()) : std::nullopt;
    if (answer != nullptr && !properties) {
        couldNotRead();
    }
    return properties;
}

void RunningCopy::couldNotRead() {
    printLine(errors_, "brindle-recorder: its answer cannot be read");
    status_ = ExitStatus::couldNotRun;
}

std::optional<RunningCopy::Properties> RunningCopy::readProperties(sd_bus_message* message) {
    Properties properties;
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return std::nullopt;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        const char* type = nullptr;
        const char* text = nullptr;
        if (properties.size() == mostProperties || sd_bus_message_read(message, "s", &name) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &type) <= 0) {
            return std::nullopt;
        }
        if (std::string_view{type} != "s") {
            sd_bus_message_skip(message, "v");
        } else if (sd_bus_message_read(message, "v", "s", &text) <= 0) {
            return std::nullopt;
        } else {
            properties.insert_or_assign(name, std::string{text}.substr(0, mostBytes));
        }
        sd_bus_message_exit_container(message);
    }
    return properties;
}

} // namespace brindle
