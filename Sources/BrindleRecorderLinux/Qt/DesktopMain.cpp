// The program with its user interface: it wires the desktop's services to the application, and
// nothing else. Started by brindle-recorder.
#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/AppModel.hpp"
#include "BrindleRecorderApp/Shell/AppShell.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderCore/Recordings/RecordingsFolder.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/DBus/DesktopNotifications.hpp"
#include "BrindleRecorderLinux/Files/FolderLock.hpp"
#include "BrindleRecorderLinux/Gio/AutostartEntry.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Program/QuitRequests.hpp"
#include "BrindleRecorderLinux/Program/RecorderServices.hpp"
#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"
#include "BrindleRecorderLinux/Qt/DesktopStatusItem.hpp"
#include "BrindleRecorderLinux/Qt/DesktopWorkspace.hpp"
#include "BrindleRecorderLinux/Qt/LoopInQt.hpp"
#include "BrindleRecorderLinux/SdBus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/SdBus/SessionBusNames.hpp"
#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDir>
#include <QLibraryInfo>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

namespace brindle {
namespace {

constexpr int exitSuccess = 0;
constexpr int exitCouldNotRun = 1;

const std::string ownIdentifier{AppInfo::bundleIdentifier};

/// Qt speaks to Wayland compositors through a plug-in that is installed separately, and ends the
/// process where it can speak to nobody.
bool qtCanReachTheScreen() {
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || anXServerAnswers()) {
        return true;
    }
    const QDir plugins{
        QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms")};
    return !plugins.entryList({QStringLiteral("libqwayland*")}).isEmpty();
}

/// A variable of the environment for as long as this lives, unless it has a value already: what we
/// start later shall not inherit it.
class BorrowedVariable {
  public:
    BorrowedVariable(const char* name, const char* value) : name_{name} {
        if (!wasSet_) {
            qputenv(name_, value);
        }
    }
    ~BorrowedVariable() {
        if (!wasSet_) {
            qunsetenv(name_);
        }
    }
    BorrowedVariable(const BorrowedVariable&) = delete;
    BorrowedVariable& operator=(const BorrowedVariable&) = delete;

  private:
    const char* const name_;
    const bool wasSet_ = qEnvironmentVariableIsSet(name_);
};

/// What GTK reads when it begins, where Qt takes its looks from it and no more.
struct GtkForItsLooksAlone {
    /// Otherwise it puts an empty program beside ours into what screen readers read.
    BorrowedVariable noBridgeToScreenReaders{"NO_AT_BRIDGE", "1"};
    /// Otherwise it loads the graphics driver to ask what it can do.
    BorrowedVariable noGraphicsDriver{"GDK_GL", "disable"};
};

/// Nothing when this desktop has no session bus, through which all of it is shown, or no screen
/// that Qt can reach.
std::optional<int> run(int& argumentCount, char** arguments) {
    // Before any thread starts: Qt has threads of its own.
    EventLoop mainLoop;
    QuitRequests quitting{mainLoop, [] {
                              QCoreApplication::quit();
                          }};
    if (!quitting.followSignals()) {
        printLine(stderr, "brindle-recorder: the system refuses to deliver signals");
        return exitCouldNotRun;
    }
    // Whoever reads our output may go; a recording must not end for that.
    std::signal(SIGPIPE, SIG_IGN);

    if (!qtCanReachTheScreen()) {
        return std::nullopt;
    }
    QApplication::setApplicationName(QStringLiteral("Brindle Recorder"));
    QApplication::setDesktopFileName(QStringLiteral("com.tamsworth.brindlerecorder"));
    QApplication::setQuitOnLastWindowClosed(false);
    std::optional<GtkForItsLooksAlone> whileQtBegins{std::in_place};
    const QApplication application{argumentCount, arguments};
    whileQtBegins.reset();
    const auto bus = QDBusConnection::sessionBus();
    BusOnLoop sessionBus{mainLoop, BusOnLoop::Which::session};
    if (!bus.isConnected() || !sessionBus.isConnected()) {
        return std::nullopt;
    }
    // A second copy leaves before anything of it shows.
    const SessionBusNames names{sessionBus, AppInfo::sameAppBundleIdentifiers(ownIdentifier)};
    if (SingleInstance::anotherCopyRuns(
            names, static_cast<std::int32_t>(QApplication::applicationPid()), ownIdentifier)) {
        return exitSuccess;
    }
    const LoopInQt loopInQt{mainLoop};

    RecorderServices services{mainLoop};
    const FolderLock recordings{services.recordingsFolder()};
    if (recordings.isHeldByAnother()) {
        printLine(stderr, "brindle-recorder: another copy already records for you");
        return exitSuccess;
    }
    DesktopNotifications notifications{bus};
    DesktopWorkspace workspace{bus};
    AutostartEntry loginItems{
        services.fileManager(), AutostartEntry::standardFolder(),
        SiblingProgram::path(SiblingProgram::commandLine)};
    const AppEnvironment environment = services.environment(notifications, loginItems, workspace);
    AppModel model{environment, RecordingsFolder{services.recordingsFolder()}};
    DesktopStatusItem statusItem;
    AppShell shell{model, environment, statusItem};
    quitting.prepareWith(model);
    if (!statusItem.exportOn(sessionBus)) {
        services.log().both(EventLog::Level::error, "tray: the session bus does not take the icon");
    }
    shell.launch();
    QApplication::exec();
    return exitSuccess;
}

} // namespace
} // namespace brindle

int main(int argumentCount, char** arguments) {
    try {
        if (const auto status = brindle::run(argumentCount, arguments)) {
            return *status;
        }
        brindle::printLine(
            stderr, "brindle-recorder: there is no session bus here, or no screen that Qt can "
                    "reach; running "
                    "without a user interface");
        const auto problem =
            brindle::SiblingProgram::become(brindle::SiblingProgram::commandLine, {"--headless"});
        brindle::printLine(stderr, "brindle-recorder: that cannot be started: " + problem);
        return brindle::exitCouldNotRun;
    } catch (const std::exception& error) {
        brindle::printLine(stderr, std::string{"brindle-recorder: "} + error.what());
        return brindle::exitCouldNotRun;
    }
}
