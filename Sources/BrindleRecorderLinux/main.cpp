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
#include "BrindleRecorderLinux/CommandLine/ConvertCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/DevicesCommand.hpp"
#include "BrindleRecorderLinux/CommandLine/HeadlessDesktop.hpp"
#include "BrindleRecorderLinux/CommandLine/Options.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalMenu.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalNotifications.hpp"
#include "BrindleRecorderLinux/CommandLine/WhoCommand.hpp"
#include "BrindleRecorderLinux/Desktop/AutostartEntry.hpp"
#include "BrindleRecorderLinux/Desktop/DesktopWorkspace.hpp"
#include "BrindleRecorderLinux/Files/FolderLock.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Notifications/DesktopNotifications.hpp"
#include "BrindleRecorderLinux/Program/QuitRequests.hpp"
#include "BrindleRecorderLinux/Program/RecorderServices.hpp"
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

constexpr int exitSuccess = 0;
constexpr int exitCouldNotRun = 1;
constexpr int exitBadUsage = 2;

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

int runHeadless() {
    // Before any thread starts, so that no thread takes the signals for itself.
    EventLoop mainLoop;
    QuitRequests quitting{mainLoop, [&mainLoop] {
                              mainLoop.quit();
                          }};
    if (!hearsSignals(quitting)) {
        return exitCouldNotRun;
    }

    RecorderServices services{mainLoop};
    const FolderLock recordings{services.recordingsFolder()};
    if (recordings.isHeldByAnother()) {
        printLine(stderr, "brindle-recorder: another copy already records for you");
        return exitSuccess;
    }
    TerminalNotifications notifications{stderr};
    HeadlessWorkspace workspace;
    HeadlessLoginItems loginItems;
    AppModel model{
        services.environment(notifications, loginItems, workspace),
        RecordingsFolder{services.recordingsFolder()}};
    const auto statusShown =
        model.statusLine.observe([](const std::string& line) { printLine(stdout, line); });
    quitting.prepareWith(model);
    printLine(stdout, model.statusLine.get());
    model.launch();
    mainLoop.run();
    return exitSuccess;
}

/// Nothing when this desktop has no session bus, through which all of it is shown.
std::optional<int> runOnBus() {
    // Before any thread starts, so that no thread takes the signals for itself.
    EventLoop mainLoop;
    QuitRequests quitting{mainLoop, [&mainLoop] {
                              mainLoop.quit();
                          }};
    if (!hearsSignals(quitting)) {
        return exitCouldNotRun;
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
        return exitSuccess;
    }
    RecorderServices services{mainLoop};
    const FolderLock recordings{services.recordingsFolder()};
    if (recordings.isHeldByAnother()) {
        printLine(stderr, "brindle-recorder: another copy already records for you");
        return exitSuccess;
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
    AppShell shell{model, environment, statusItem};
    quitting.prepareWith(model);
    if (!statusItem.exportOn(bus)) {
        services.log().both(EventLog::Level::error, "tray: the session bus does not take the icon");
    }
    shell.launch();
    mainLoop.run();
    return exitSuccess;
}

int runDesktop() {
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
int runCommand(const std::function<bool(EventLoop&, FileManager&)>& command) {
    EventLoop mainLoop;
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        if (!mainLoop.onSignal(signalNumber, [&mainLoop] { mainLoop.quit(); })) {
            printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
            return exitCouldNotRun;
        }
    }
    // Whoever reads our output may go; the command ends then by itself.
    std::signal(SIGPIPE, SIG_IGN);
    PosixFileManager files;
    return command(mainLoop, files) ? exitSuccess : exitCouldNotRun;
}

int run(const std::vector<std::string_view>& arguments) {
    const auto options = Options::parse(arguments);
    if (!options) {
        printLine(stderr, "brindle-recorder: " + options.error());
        printLine(stderr, "Try 'brindle-recorder --help' for more information.");
        return exitBadUsage;
    }
    switch (options->command) {
    case Options::Command::showHelp:
        fmt::print("{}", Options::helpText());
        return exitSuccess;
    case Options::Command::showVersion:
        printLine(stdout, "brindle-recorder " BRINDLE_VERSION);
        return exitSuccess;
    case Options::Command::runDesktop:
        return runDesktop();
    case Options::Command::runHeadless:
        return runHeadless();
    case Options::Command::showWho:
        return runCommand([&](EventLoop& mainLoop, FileManager& files) {
            return WhoCommand{mainLoop, files, options->once}.run();
        });
    case Options::Command::showDevices:
        return runCommand([](EventLoop& mainLoop, FileManager& files) {
            capture::CaptureChildren children{
                mainLoop, SiblingProgram::path(SiblingProgram::capture)};
            return DevicesCommand{mainLoop, files, children}.run();
        });
    case Options::Command::convertMovie:
        return runCommand([&](EventLoop& mainLoop, FileManager& files) {
            capture::CaptureChildren children{
                mainLoop, SiblingProgram::path(SiblingProgram::capture), [](std::string_view line) {
                    printLine(stderr, std::string{"brindle-recorder: "}.append(line));
                }};
            return ConvertCommand{mainLoop, files, children, options->movie}.run();
        });
    case Options::Command::showMenu:
        return TerminalMenu{}.print() ? exitSuccess : exitCouldNotRun;
    case Options::Command::pick:
        return TerminalMenu{}.pick(options->words) ? exitSuccess : exitCouldNotRun;
    }
    return exitBadUsage;
}

} // namespace
} // namespace brindle

int main(int argumentCount, char** arguments) {
    try {
        return brindle::run(
            std::vector<std::string_view>(arguments + 1, arguments + argumentCount));
    } catch (const std::exception& error) {
        brindle::printLine(stderr, std::string{"brindle-recorder: "} + error.what());
        return brindle::exitCouldNotRun;
    }
}
