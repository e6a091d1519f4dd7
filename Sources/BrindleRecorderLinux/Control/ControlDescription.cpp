#include "BrindleRecorderLinux/Control/ControlDescription.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"

#include <algorithm>
#include <fmt/format.h>

namespace brindle {

namespace {

using Status = ProgramStatus;
using Kind = ControlCommand::Kind;

constexpr std::array allProperties{
    ControlDescription::Property{
        "Version", "The program's version.", true,
        [](const Status&) {
            return capture::programVersion();
        }},
    ControlDescription::Property{
        "State",
        "What goes on: \"idle\" (nobody is in a call), \"asking\" (the user is asked whether to "
        "record a call), \"armed\" (a call goes on that is not recorded) or \"recording\".",
        false,
        [](const Status& status) {
            return std::string{ControlDescription::nameOf(status.state)};
        }},
    ControlDescription::Property{
        "StatusLine", "The same in words for people, as the menu says it.", false,
        [](const Status& status) {
            return status.line;
        }},
    ControlDescription::Property{
        "Call", "The call that goes on, as people call it; empty without one.", false,
        [](const Status& status) {
            return status.call.value_or("");
        }},
    ControlDescription::Property{
        "Camera", "The camera that the next recording would use, or words that there is none.",
        false,
        [](const Status& status) {
            return status.camera;
        }},
    ControlDescription::Property{
        "Microphone",
        "The microphone that the next recording would use, or words that there is none.", false,
        [](const Status& status) {
            return status.microphone;
        }},
    ControlDescription::Property{
        "Warning", "A warning about the current or the last recording; empty without one.", false,
        [](const Status& status) {
            return status.warning.value_or("");
        }},
    ControlDescription::Property{
        "Problem", "Why the icon shows trouble; empty while it does not.", false,
        [](const Status& status) {
            return status.problem.value_or("");
        }},
    ControlDescription::Property{
        "Question",
        "Names the question whether to record a call, for Answer; empty while none is open.", false,
        [](const Status& status) {
            return status.question.value_or("");
        }},
    ControlDescription::Property{
        "Folder", "The folder with the recordings.", false,
        [](const Status& status) {
            return status.folder.string();
        }},
};

constexpr const char* nothingRuns = "Nothing is being recorded.";
constexpr const char* noSuchLine = "The menu does not offer that at the moment.";
constexpr std::array answerArguments{
    ControlDescription::Argument{"question", 's'}, ControlDescription::Argument{"record", 'b'}};

constexpr std::array allMethods{
    ControlDescription::Method{
        "Show",
        "Opens the menu, or where no panel can do that a window that shows the same, as launching "
        "the program once more does.",
        "This copy has no user interface.",
        {},
        Kind::show},
    ControlDescription::Method{
        "Record",
        "Begins a recording by hand, as \"Record now\" in the menu does.",
        "Something is being recorded already.",
        {},
        Kind::record},
    ControlDescription::Method{
        "Stop",
        "Ends the recording and keeps it, as \"Stop recording\" in the menu does.",
        nothingRuns,
        {},
        Kind::stop},
    ControlDescription::Method{
        "Discard",
        "Ends the recording and removes it, as \"Stop and Discard\" in the menu does.",
        nothingRuns,
        {},
        Kind::discard},
    ControlDescription::Method{
        "Answer",
        "Answers the question whether to record a call, as \"Record\" and \"Skip\" in the menu do. "
        "It is named as the property Question names it, so that a late answer never meets another "
        "question.",
        "That question is not open.", answerArguments, Kind::answerRecord},
    ControlDescription::Method{
        "OpenFolder", "Shows the folder with the recordings.", noSuchLine, {}, Kind::openFolder},
    ControlDescription::Method{
        "Quit",
        "Stops and keeps what is being recorded, and ends the program.",
        noSuchLine,
        {},
        Kind::quit},
};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

/// The annotation that bus browsers show as an explanation.
std::string explanation(std::string_view words) {
    return fmt::format(
        "<annotation name=\"org.gtk.GDBus.DocString\" value=\"{}\"/>\n", escaped(words));
}

std::string described(const ControlDescription::Property& property) {
    constexpr std::string_view constant =
        "<annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"const\"/>\n";
    return fmt::format(
        "<property name=\"{}\" type=\"s\" access=\"read\">\n{}{}</property>\n", property.name,
        explanation(property.words), property.isConstant ? constant : "");
}

std::string described(const ControlDescription::Method& method) {
    std::string text = fmt::format("<method name=\"{}\">\n", method.name);
    for (const auto& argument : method.arguments) {
        text += fmt::format(
            "<arg name=\"{}\" type=\"{}\" direction=\"in\"/>\n", argument.name, argument.type);
    }
    return text + explanation(method.words) + "</method>\n";
}

template <class Members>
auto* named(const Members& members, std::string_view name) {
    const auto found =
        std::ranges::find_if(members, [&](const auto& member) { return name == member.name; });
    return found != members.end() ? &*found : nullptr;
}

} // namespace

std::span<const ControlDescription::Property> ControlDescription::properties() {
    return allProperties;
}

std::span<const ControlDescription::Method> ControlDescription::methods() {
    return allMethods;
}

const ControlDescription::Property* ControlDescription::property(std::string_view name) {
    return named(allProperties, name);
}

const ControlDescription::Method* ControlDescription::method(std::string_view name) {
    return named(allMethods, name);
}

const char* ControlDescription::nameOf(ProgramStatus::State state) {
    switch (state) {
    case Status::State::idle:
        return "idle";
    case Status::State::asking:
        return "asking";
    case Status::State::armed:
        return "armed";
    case Status::State::recording:
        return "recording";
    }
    return "";
}

std::string ControlDescription::introspection() {
    std::string text =
        "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
        "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
        "<node>\n"
        "<interface name=\"org.freedesktop.DBus.Properties\"/>\n"
        "<interface name=\"org.freedesktop.DBus.Introspectable\"/>\n"
        "<interface name=\"org.freedesktop.DBus.Peer\"/>\n";
    text += fmt::format("<interface name=\"{}\">\n", interface);
    text += explanation(
        "What Brindle Recorder is doing, and what can be asked of it: nothing that its menu does "
        "not offer at that moment. A method that cannot do now what it is for answers with the "
        "error com.tamsworth.brindlerecorder.Error.NotNow.");
    for (const auto& method : allMethods) {
        text += described(method);
    }
    for (const auto& property : allProperties) {
        text += described(property);
    }
    return text + "</interface>\n</node>\n";
}

} // namespace brindle
