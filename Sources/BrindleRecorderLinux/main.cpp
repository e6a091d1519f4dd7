// The program: it wires the desktop's services to the application, and nothing else.
#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderCore/DateProvider.hpp"
#include "BrindleRecorderCore/DiagnosticLog.hpp"
#include "BrindleRecorderCore/PosixFileManager.hpp"
#include "BrindleRecorderCore/SerialQueue.hpp"
#include "BrindleRecorderCore/SteadyDateProvider.hpp"
#include "BrindleRecorderLinux/CommandLine/HeadlessDesktop.hpp"
#include "BrindleRecorderLinux/CommandLine/Options.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalNotifications.hpp"
#include "BrindleRecorderLinux/CommandLine/WhoCommand.hpp"
#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"
#include "BrindleRecorderLinux/Logind/LogindSystemEvents.hpp"
#include "BrindleRecorderLinux/Media/FFmpegMovieExporter.hpp"
#include "BrindleRecorderLinux/PipeWire/AudioServerStateText.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireAudioObjects.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireCaptureSystem.hpp"
#include "BrindleRecorderLinux/PipeWire/PipeWireMainLoop.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/SystemLog/SyslogSystemLog.hpp"
#include "BrindleRecorderLinux/Time/BootClock.hpp"
#include "BrindleRecorderLinux/Windows/DesktopWindowList.hpp"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle {
namespace {

constexpr int exitSuccess = 0;
constexpr int exitCouldNotRun = 1;
constexpr int exitBadUsage = 2;

int runHeadless() {
    // Before any thread starts, so that no thread takes the signals for itself.
    PipeWireMainLoop mainLoop;
    AppModel* runningModel = nullptr;
    bool isQuitting = false;
    const auto quit = [&] {
        // The second request does not wait for the recording's conversion.
        if (runningModel == nullptr || std::exchange(isQuitting, true)) {
            mainLoop.quit();
        } else {
            runningModel->prepareToQuit([&mainLoop] { mainLoop.quit(); });
        }
    };
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        if (!mainLoop.onSignal(signalNumber, quit)) {
            printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
            return exitCouldNotRun;
        }
    }
    // Whoever reads our output may go; a recording must not end for that.
    std::signal(SIGPIPE, SIG_IGN);

    const SystemDateProvider wallClock;
    SteadyDateProvider clock{wallClock, timeSinceBoot};
    PosixFileManager files;
    DiagnosticLog& diagnosticLog = DiagnosticLog::shared();
    SyslogSystemLog systemLog;
    const EventLog log{diagnosticLog, systemLog, clock};
    TerminalNotifications notifications{stderr};
    const ProcProcessRegistry processes{mainLoop.loop()};
    PipeWireAudioObjects audioObjects{
        mainLoop, mainLoop.loop(), processes, pipewire::AudioServer::Options::ofThisSession(),
        [&log](pipewire::AudioServerState state) {
            log.both(EventLog::Level::info, pipewire::describe(state));
        }};
    const DesktopWindowList windows{processes, mainLoop.loop(), [&audioObjects] {
                                        return audioObjects.graph();
                                    }};
    PipeWireCaptureSystem captureSystem{
        mainLoop, mainLoop.loop(), pipewire::AudioServer::Options::ofThisSession(), systemLog};
    HeadlessWorkspace workspace;
    LogindSystemEvents systemEvents{mainLoop.loop()};
    HeadlessLoginItems loginItems;
    FFmpegMovieExporter exporter{mainLoop};
    JsonDefaultsStore defaults{
        files, JsonDefaultsStore::standardFile(), [&log](std::string_view line) {
            log.diagnostic(line);
        }};
    SerialQueue captureSessionQueue{Recorder::sessionQueueLabel};

    AppModel model{
        AppEnvironment{
            .mainLoop = mainLoop,
            .dateProvider = clock,
            .fileManager = files,
            .diagnosticLog = diagnosticLog,
            .systemLog = systemLog,
            .audioObjects = audioObjects,
            .processRegistry = processes,
            .windowList = windows,
            .captureSystem = captureSystem,
            .captureSessionQueue = captureSessionQueue,
            .movieExporter = exporter,
            .notifications = notifications,
            .defaults = defaults,
            .loginItems = loginItems,
            .workspace = workspace,
            .systemEvents = &systemEvents,
            .takeOverWallTime = [&clock] { clock.takeOverWallTime(); },
        },
        RecordingsFolder{RecordingsFolder::defaultRoot()}};
    const auto statusShown =
        model.statusLine.observe([](const std::string& line) { printLine(stdout, line); });
    model.onQuitRequest = quit;
    runningModel = &model;
    printLine(stdout, model.statusLine.get());
    model.launch();
    mainLoop.run();
    diagnosticLog.flush();
    return exitSuccess;
}

int showWho(bool once) {
    PipeWireMainLoop mainLoop;
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        if (!mainLoop.onSignal(signalNumber, [&mainLoop] { mainLoop.quit(); })) {
            printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
            return exitCouldNotRun;
        }
    }
    // Whoever reads our output may go; the command ends then by itself.
    std::signal(SIGPIPE, SIG_IGN);
    PosixFileManager files;
    return WhoCommand{mainLoop, files, once}.run() ? exitSuccess : exitCouldNotRun;
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
    case Options::Command::runHeadless:
        return runHeadless();
    case Options::Command::showWho:
        return showWho(options->once);
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
