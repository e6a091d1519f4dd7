#include "BrindleRecorderLinux/CommandLine/CommandTable.hpp"

#include <algorithm>
#include <array>

namespace brindle {

namespace {

using Command = Options::Command;
using Argument = CommandTable::Argument;
using Option = CommandTable::Option;
using Example = CommandTable::Example;

constexpr std::array statusOptions{
    Option{"--json", "say it as one object of JSON in a line", &Options::json},
    Option{
        "--watch",
        "say it again whenever it changes, until interrupted, also where no copy runs yet",
        &Options::watch}};
constexpr std::array statusExamples{
    Example{"brindle-recorder status", "See whether a recording runs."},
    Example{
        "brindle-recorder status --json --watch",
        "Feed a status bar, which gets a line for each change."}};

constexpr std::array recordExamples{Example{"brindle-recorder record", "Record without a call."}};
constexpr std::array stopExamples{
    Example{"brindle-recorder stop", "End the recording, as a key of the desktop may do."}};
constexpr std::array discardExamples{
    Example{"brindle-recorder discard", "Throw away what was recorded of this call."}};
constexpr std::array answerExamples{
    Example{"brindle-recorder answer record", "Record the call that the program asks about."},
    Example{"brindle-recorder answer skip", "Leave that call alone."}};
constexpr std::array menuExamples{
    Example{"brindle-recorder menu", "See what the icon's menu would show."}};
constexpr std::array pickExamples{Example{
    "brindle-recorder pick Settings \"Ask before recording\"",
    "Switch the question at the beginning of a call on or off."}};
constexpr std::array folderExamples{
    Example{"ls -t \"$(brindle-recorder open-folder)\"", "List the recordings, the newest first."}};
constexpr std::array quitExamples{
    Example{"brindle-recorder quit", "Keep what is being recorded, and end the program."}};

constexpr std::array whoOptions{Option{"--once", "say it once and exit", &Options::once}};
constexpr std::array whoExamples{Example{
    "brindle-recorder who --once", "Find out why a program is, or is not, taken for a call."}};
constexpr std::array devicesExamples{
    Example{"brindle-recorder devices", "See which camera would be recorded."}};
constexpr std::array convertExamples{Example{
    "brindle-recorder convert ~/Movies/Brindle/2026-11-23_0930.mov",
    "Rescue a recording that a crash left behind."}};
constexpr std::array diagnoseExamples{
    Example{"brindle-recorder diagnose > report.txt", "Make a report for somebody who helps."}};
constexpr std::array completionExamples{Example{
    "source <(brindle-recorder completion bash)",
    "Have bash complete commands where nothing was installed."}};

constexpr std::array table{
    CommandTable::Entry{
        Command::showStatus, "status", "", Argument::none, true, "say what it is doing",
        "Prints the status line, as the menu shows it, and a warning where there is one.",
        statusOptions, statusExamples},
    CommandTable::Entry{
        Command::record,
        "record",
        "",
        Argument::none,
        true,
        "begin a recording by hand",
        "Does what \"Record now\" in the menu does.",
        {},
        recordExamples},
    CommandTable::Entry{
        Command::stop,
        "stop",
        "",
        Argument::none,
        true,
        "end the recording and keep it",
        "Does what \"Stop recording\" in the menu does: the call is not recorded again.",
        {},
        stopExamples},
    CommandTable::Entry{
        Command::discard,
        "discard",
        "",
        Argument::none,
        true,
        "end the recording and remove it",
        "Does what \"Stop and Discard\" in the menu does: the call is not recorded again.",
        {},
        discardExamples},
    CommandTable::Entry{
        Command::answer,
        "answer",
        "",
        Argument::answer,
        true,
        "answer the question whether to record a call",
        "Does what \"Record\" and \"Skip\" do in the notification and in the menu.",
        {},
        answerExamples},
    CommandTable::Entry{
        Command::showMenu,
        "menu",
        "--menu",
        Argument::none,
        true,
        "print its menu",
        "",
        {},
        menuExamples},
    CommandTable::Entry{
        Command::pick,
        "pick",
        "--pick",
        Argument::menuLine,
        true,
        "pick a line of its menu",
        "The line is named by its words, after those of its submenu where it is in one.",
        {},
        pickExamples},
    CommandTable::Entry{
        Command::openFolder,
        "open-folder",
        "",
        Argument::none,
        true,
        "show the folder with the recordings",
        "Prints the name of the folder, and has the desktop show it where there is one.",
        {},
        folderExamples},
    CommandTable::Entry{
        Command::quit,
        "quit",
        "",
        Argument::none,
        true,
        "end it in good order",
        "A running recording is stopped, kept and converted before the program leaves. Asked a "
        "second time it leaves at once; the next launch finishes what was left.",
        {},
        quitExamples},
    CommandTable::Entry{
        Command::showWho, "who", "--who", Argument::none, false,
        "say who uses the microphone and what follows from it",
        "Says it again whenever it changes, until interrupted. Nothing is recorded.", whoOptions,
        whoExamples},
    CommandTable::Entry{
        Command::showDevices,
        "devices",
        "--devices",
        Argument::none,
        false,
        "list cameras and microphones, and which would be recorded",
        "Says who uses a camera at the moment, where that is known, and what compresses pictures "
        "here, for which encoders are tried. No device is opened.",
        {},
        devicesExamples},
    CommandTable::Entry{
        Command::convertMovie,
        "convert",
        "--convert",
        Argument::movie,
        false,
        "convert a recording by hand, up to its last readable moment",
        "FILE.mp4 takes its place once it is whole; a FILE.mp4 that is there already is never "
        "replaced.",
        {},
        convertExamples},
    CommandTable::Entry{
        Command::diagnose,
        "diagnose",
        "",
        Argument::none,
        false,
        "say what a maintainer needs to know of this machine",
        "Versions, desktop, devices and the last failures: no window titles, no names of calls and "
        "nothing of what was recorded. No device is opened.",
        {},
        diagnoseExamples},
    CommandTable::Entry{
        Command::showCompletion,
        "completion",
        "",
        Argument::shell,
        false,
        "print what a shell needs to complete commands",
        "Packages install it; this is for copies that were not installed.",
        {},
        completionExamples},
};

constexpr std::array<std::string_view, 2> answers{"record", "skip"};
constexpr std::array<std::string_view, 3> shells{"bash", "fish", "zsh"};

} // namespace

std::span<const CommandTable::Entry> CommandTable::entries() {
    return table;
}

const CommandTable::Entry* CommandTable::named(std::string_view nameOrAlias) {
    const auto* const found = std::ranges::find_if(table, [&](const Entry& entry) {
        return !nameOrAlias.empty() && (entry.name == nameOrAlias || entry.alias == nameOrAlias);
    });
    return found != table.end() ? found : nullptr;
}

const CommandTable::Entry& CommandTable::of(Options::Command command) {
    return *std::ranges::find(table, command, &Entry::command); // only what stands there is asked
}

const CommandTable::Option* CommandTable::option(std::string_view name) {
    for (const Entry& entry : table) {
        for (const Option& option : entry.options) {
            if (option.name == name) {
                return &option;
            }
        }
    }
    return nullptr;
}

std::string_view CommandTable::placeholder(Argument argument) {
    switch (argument) {
    case Argument::none:
        return "";
    case Argument::movie:
        return "FILE.mov";
    case Argument::answer:
        return "record|skip";
    case Argument::menuLine:
        return "LINE...";
    case Argument::shell:
        return "bash|fish|zsh";
    }
    return "";
}

std::span<const std::string_view> CommandTable::choices(Argument argument) {
    switch (argument) {
    case Argument::answer:
        return answers;
    case Argument::shell:
        return shells;
    default:
        return {};
    }
}

} // namespace brindle
