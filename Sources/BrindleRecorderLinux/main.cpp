// The program: it wires the desktop's services to the application, and nothing else.
#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/AppShell.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/SessionBusNames.hpp"
#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"
#include "BrindleRecorderLinux/CommandLine/Completions.hpp"
#include "BrindleRecorderLinux/CommandLine/ConvertCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/DevicesCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/DiagnoseCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/ExitStatus.hpp"
#include "BrindleRecorderLinux/CommandLine/HeadlessDesktop.hpp"
#include "BrindleRecorderLinux/CommandLine/HelpText.hpp"
#include "BrindleRecorderLinux/CommandLine/Options.hpp"
#include "BrindleRecorderLinux/CommandLine/StatusCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/SteerCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalNotifications.hpp"
#include "BrindleRecorderLinux/CommandLine/WhoCommand.hpp"
#include "BrindleRecorderLinux/Control/ControlObject.hpp"
#include "BrindleRecorderLinux/Desktop/AutostartEntry.hpp"
#include "BrindleRecorderLinux/Desktop/DesktopWorkspace.hpp"
#include "BrindleRecorderLinux/Files/FolderLock.hpp"
#include "BrindleRecorderLinux/Language/GettextLanguage.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Notifications/DesktopNotifications.hpp"
#include "BrindleRecorderLinux/Program/HeadlessControl.hpp"
#include "BrindleRecorderLinux/Program/QuitRequests.hpp"
#include "BrindleRecorderLinux/Program/RecorderServices.hpp"
#include "BrindleRecorderLinux/Program/SecondLaunch.hpp"
#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"
#include "BrindleRecorderLinux/Window/DesktopStatusItem.hpp"
#include "BrindleRecorderLinux/Window/WindowPrograms.hpp"
#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {
namespace {

/// False, and said so, when the program could not be ended from outside.
bool hearsSignals(QuitRequests& quitting) {
    // Whoever reads our output may go; a recording must not end for that.
    std::signal(SIGPIPE, SIG_IGN);
    if (!quitting.followSignals()) {
        printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
        return false;
    }
    return true;
}

ExitStatus runHeadless() {
    // Before any thread starts, so that no thread takes the signals for itself.
    EventLoop mainLoop;
    QuitRequests quitting{mainLoop, [&mainLoop] {
                              mainLoop.quit();
                          }};
    if (!hearsSignals(quitting)) {
        return ExitStatus::couldNotRun;
    }

    RecorderServices services{mainLoop};
    const FolderLock recordings{services.recordingsFolder()};
    if (recordings.isHeldByAnother()) {
        printLine(stderr, "brindle-recorder: another copy already records for you");
        return ExitStatus::success;
    }
    TerminalNotifications notifications{stderr};
    HeadlessWorkspace workspace;
    HeadlessLoginItems loginItems;
    const AppEnvironment environment = services.environment(notifications, loginItems, workspace);
    AppModel model{environment, RecordingsFolder{services.recordingsFolder()}};
    BusOnLoop bus{mainLoop, BusOnLoop::Which::session};
    const auto control = HeadlessControl::onBus(bus, model, environment);
    const auto statusShown =
        model.statusLine.observe([](const std::string& line) { printLine(stdout, line); });
    quitting.prepareWith(model);
    printLine(stdout, model.statusLine.get());
    model.launch();
    mainLoop.run();
    return ExitStatus::success;
}

/// Nothing when this desktop has no session bus, through which all of it is shown.
std::optional<ExitStatus> runOnBus() {
    // Before any thread starts, so that no thread takes the signals for itself.
    EventLoop mainLoop;
    QuitRequests quitting{mainLoop, [&mainLoop] {
                              mainLoop.quit();
                          }};
    if (!hearsSignals(quitting)) {
        return ExitStatus::couldNotRun;
    }

    const std::string ownIdentifier{AppInfo::bundleIdentifier};
    BusOnLoop bus{mainLoop, BusOnLoop::Which::session};
    if (!bus.isConnected()) {
        return std::nullopt;
    }
    // A second copy leaves before anything of it shows.
    const SessionBusNames names{bus, AppInfo::sameAppBundleIdentifiers(ownIdentifier)};
    if (!names.busAnswers()) {
        return std::nullopt;
    }
    if (SingleInstance::anotherCopyRuns(names, getpid(), ownIdentifier)) {
        SecondLaunch::askForTheMenu(bus);
        return ExitStatus::success;
    }
    RecorderServices services{mainLoop};
    const FolderLock recordings{services.recordingsFolder()};
    if (recordings.isHeldByAnother()) {
        printLine(stderr, "brindle-recorder: another copy already records for you");
        return ExitStatus::success;
    }
    DesktopNotifications notifications{bus};
    DesktopWorkspace workspace{bus, services.fileManager(), mainLoop};
    AutostartEntry loginItems{
        services.fileManager(), AutostartEntry::standardFolder(),
        SiblingProgram::path(SiblingProgram::commandLine)};
    const AppEnvironment environment = services.environment(notifications, loginItems, workspace);
    AppModel model{environment, RecordingsFolder{services.recordingsFolder()}};
    WindowPrograms windows{
        {bus, mainLoop, SiblingProgram::path(SiblingProgram::windows), ownIdentifier,
         [&services](std::string_view line) {
             services.log().both(EventLog::Level::info, line);
         }}};
    DesktopStatusItem statusItem{mainLoop, windows};
    ControlObject control{bus};
    AppShell shell{model, environment, statusItem, control, &statusItem};
    quitting.prepareWith(model);
    if (!statusItem.exportOn(bus) || !control.isExported()) {
        services.log().both(EventLog::Level::error, "tray: the session bus does not take the icon");
    }
    shell.launch();
    mainLoop.run();
    return ExitStatus::success;
}

ExitStatus runDesktop() {
    if (!aScreenAnswers()) {
        printLine(
            stderr, "brindle-recorder: there is no screen here; running without a user interface");
        return runHeadless();
    }
    if (const auto status = runOnBus()) {
        return *status;
    }
    printLine(
        stderr, "brindle-recorder: there is no session bus here; running without a user interface");
    return runHeadless();
}

/// Runs a command that ends by itself, or when it is interrupted.
ExitStatus runCommand(const std::function<ExitStatus(EventLoop&, FileManager&)>& command) {
    EventLoop mainLoop;
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        if (!mainLoop.onSignal(signalNumber, [&mainLoop] { mainLoop.quit(); })) {
            printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
            return ExitStatus::couldNotRun;
        }
    }
    // Whoever reads our output may go; the command ends then by itself.
    std::signal(SIGPIPE, SIG_IGN);
    PosixFileManager files;
    return command(mainLoop, files);
}

ExitStatus successIf(bool succeeded) {
    return succeeded ? ExitStatus::success : ExitStatus::couldNotRun;
}

ExitStatus run(const std::vector<std::string_view>& arguments) {
    const auto options = Options::parse(arguments);
    if (!options) {
        printLine(stderr, "brindle-recorder: " + options.error());
        printLine(stderr, "Try 'brindle-recorder --help' for more information.");
        return ExitStatus::badUsage;
    }
    using Command = Options::Command;
    using Kind = ControlCommand::Kind;
    switch (options->command) {
    case Command::showHelp:
        fmt::print(
            "{}", options->helpOf ? HelpText::of(*options->helpOf) : HelpText::ofTheProgram());
        return ExitStatus::success;
    case Command::showVersion:
        printLine(stdout, "brindle-recorder " BRINDLE_VERSION);
        return ExitStatus::success;
    case Command::runDesktop:
        return runDesktop();
    case Command::runHeadless:
        return runHeadless();
    case Command::showStatus:
        return runCommand([&](EventLoop& mainLoop, FileManager& /*files*/) {
            return StatusCommand{mainLoop, options->json, options->watch}.run();
        });
    case Command::record:
        return SteerCommand{}.run(Kind::record);
    case Command::stop:
        return SteerCommand{}.run(Kind::stop);
    case Command::discard:
        return SteerCommand{}.run(Kind::discard);
    case Command::answer:
        return SteerCommand{}.run(
            options->words.front() == "record" ? Kind::answerRecord : Kind::answerSkip);
    case Command::openFolder:
        return SteerCommand{}.run(Kind::openFolder);
    case Command::quit:
        return SteerCommand{}.run(Kind::quit);
    case Command::showMenu:
        return TerminalMenu{}.print();
    case Command::pick:
        return TerminalMenu{}.pick(options->words);
    case Command::showWho:
        return runCommand([&](EventLoop& mainLoop, FileManager& files) {
            return successIf(WhoCommand{mainLoop, files, options->once}.run());
        });
    case Command::showDevices:
        return runCommand([](EventLoop& mainLoop, FileManager& files) {
            capture::CaptureChildren children{
                mainLoop, SiblingProgram::path(SiblingProgram::capture)};
            return successIf(DevicesCommand{mainLoop, files, children}.run());
        });
    case Command::convertMovie:
        return runCommand([&](EventLoop& mainLoop, FileManager& files) {
            capture::CaptureChildren children{
                mainLoop, SiblingProgram::path(SiblingProgram::capture), [](std::string_view line) {
                    printLine(stderr, std::string{"brindle-recorder: "}.append(line));
                }};
            return successIf(
                ConvertCommand{mainLoop, files, children, options->words.front()}.run());
        });
    case Command::diagnose:
        return runCommand([](EventLoop& mainLoop, FileManager& files) {
            DiagnoseCommand{mainLoop, files, SiblingProgram::path(SiblingProgram::capture)}.run();
            return ExitStatus::success;
        });
    case Command::showCompletion:
        fmt::print("{}", Completions::forShell(options->words.front()));
        return ExitStatus::success;
    }
    return ExitStatus::badUsage;
}

} // namespace
} // namespace brindle

int main(int argumentCount, char** arguments) {
    try {
        static const brindle::GettextLanguage language{
            brindle::GettextLanguage::catalogues(BRINDLE_CATALOGUES)};
        brindle::Language::useForTheUser(language);
        return static_cast<int>(
            brindle::run(std::vector<std::string_view>(arguments + 1, arguments + argumentCount)));
    } catch (const std::exception& error) {
        brindle::printLine(stderr, std::string{"brindle-recorder: "} + error.what());
        return static_cast<int>(brindle::ExitStatus::couldNotRun);
    }
}
