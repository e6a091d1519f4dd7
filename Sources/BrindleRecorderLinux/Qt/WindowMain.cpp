// The program that shows what needs a window toolkit, started by the recorder for one thing each.
// It wires Qt's widgets to what the recorder has on the session bus, and nothing else: it may end
// at any moment, and nothing is lost.
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"
#include "BrindleRecorderLinux/Language/GettextLanguage.hpp"
#include "BrindleRecorderLinux/Qt/AccessibilityBus.hpp"
#include "BrindleRecorderLinux/Qt/BusInQt.hpp"
#include "BrindleRecorderLinux/Qt/QtMenuWindow.hpp"
#include "BrindleRecorderLinux/Qt/QtSetupWindow.hpp"
#include "BrindleRecorderLinux/Qt/QtTrayIcon.hpp"
#include "BrindleRecorderLinux/Qt/QtTrayMenu.hpp"
#include "BrindleRecorderLinux/Qt/RecorderLink.hpp"
#include "BrindleRecorderLinux/Tray/MenuReader.hpp"
#include "BrindleRecorderLinux/Window/WindowProtocol.hpp"
#include "BrindleRecorderLinux/Windows/Screen.hpp"

#include <QApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QTimer>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {
namespace {

// The recorder starts the program again unless it ends with success.
constexpr int exitDone = 0;
constexpr int exitCouldNotRun = 1;
constexpr int exitBadUsage = 2;

constexpr const char* iconPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/MenuBar";

/// Qt speaks to Wayland compositors through a plug-in that is installed separately, and ends the
/// process where it can speak to nobody.
bool qtCanReachTheScreen() {
    if (!aScreenAnswers()) {
        return false;
    }
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || anXServerAnswers()) {
        return true;
    }
    const QDir plugins{
        QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms")};
    return !plugins.entryList({QStringLiteral("libqwayland*")}).isEmpty();
}

/// What GTK reads when it begins, where Qt takes its looks from it and no more: otherwise it puts
/// an empty program beside ours into what screen readers read, and loads the graphics driver to ask
/// what it can do.
void keepGtkToItsLooks() {
    for (const auto& [name, value] :
         {std::pair{"NO_AT_BRIDGE", "1"}, std::pair{"GDK_GL", "disable"}}) {
        if (!qEnvironmentVariableIsSet(name)) {
            qputenv(name, value);
        }
    }
}

/// Also before the loop runs.
void leave(int status) {
    QTimer::singleShot(0, qApp, [status] { QCoreApplication::exit(status); });
}

bool isOnX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

/// Shows what the recorder says until the user closes it.
class SetupWindowRole {
  public:
    explicit SetupWindowRole(RecorderLink& recorder) : recorder_{recorder} {
        recorder_.onSetupWindowChange = [this] {
            ask();
        };
        ask();
    }

  private:
    void ask() {
        recorder_.askForSetupWindow([this](sd_bus_message* answer) { take(answer); });
    }

    void take(sd_bus_message* answer) {
        std::uint32_t fronts = 0;
        const auto content = isAnswer(answer) && sd_bus_message_read(answer, "u", &fronts) > 0
                                 ? WindowProtocol::read(answer)
                                 : std::nullopt;
        if (!content) {
            leave(exitCouldNotRun);
            return;
        }
        if (window_) {
            window_->setContent(*content);
        } else {
            window_.emplace(*content);
            window_->onClosed = [this] {
                recorder_.tellSetupWindowClosed([] { leave(exitDone); });
            };
        }
        if (fronts_ != fronts) {
            fronts_ = fronts;
            window_->bringToFront();
        }
    }

    RecorderLink& recorder_;
    std::optional<QtSetupWindow> window_;
    std::optional<std::uint32_t> fronts_;
};

/// The menu as the recorder has it on the bus, shown by a `View`.
template <class View>
class MenuOnBus {
  public:
    MenuOnBus(Bus& bus, const std::string& owner) : reader_{bus, owner, menuPath} {
        reader_.onMenu = [this](const Menu& read) {
            view_.show(read);
            if (onRead) {
                onRead();
            }
        };
        view_.onOpening = [this] {
            reader_.tellOpening();
        };
        view_.onActivation = [this](const std::string& line) {
            ++picks_;
            reader_.tellPicked(line, [this] {
                --picks_;
                if (onTold) {
                    onTold();
                }
            });
        };
    }

    [[nodiscard]] View& view() { return view_; }
    [[nodiscard]] bool isTelling() const { return picks_ > 0; }

    std::function<void()> onRead;
    std::function<void()> onTold;

  private:
    View view_;
    MenuReader reader_;
    int picks_ = 0;
};

/// The icon in the tray of X11, for as long as the recorder wants it there.
class TrayIconRole {
  public:
    TrayIconRole(Bus& bus, RecorderLink& recorder, const std::string& owner)
        : menu_{bus, owner}, icon_{menu_.view()}, reader_{bus, owner, iconPath} {
        icon_.onShownChange = [&recorder](bool isShown) {
            recorder.tellTrayIconShown(isShown);
        };
        reader_.onIcon = [this](const IconReader::Icon& icon) {
            icon_.show(icon);
        };
    }

  private:
    MenuOnBus<QtTrayMenu> menu_;
    QtTrayIcon icon_;
    IconReader reader_;
};

/// The menu at the pointer until it is closed.
class MenuRole {
  public:
    MenuRole(Bus& bus, const std::string& owner) : menu_{bus, owner} {
        menu_.onRead = [this] {
            if (!isOpened_) {
                isOpened_ = true;
                menu_.view().open();
            }
        };
        menu_.onTold = [this] {
            endWhenOver();
        };
        // A menu closes before it tells what was picked.
        QObject::connect(
            &menu_.view().widget(), &QMenu::aboutToHide, &menu_.view().widget(),
            [this] { endWhenOver(); }, Qt::QueuedConnection);
    }

  private:
    void endWhenOver() {
        if (!menu_.isTelling() && !menu_.view().widget().isVisible()) {
            leave(exitDone);
        }
    }

    MenuOnBus<QtTrayMenu> menu_;
    bool isOpened_ = false;
};

/// The menu in a window until the user closes it.
class MenuWindowRole {
  public:
    MenuWindowRole(Bus& bus, RecorderLink& recorder, const std::string& owner) : menu_{bus, owner} {
        menu_.onRead = [this] {
            if (!isShown_) {
                isShown_ = true;
                menu_.view().bringToFront();
            }
        };
        recorder.onMenuWindowToFront = [this] {
            if (isShown_) {
                menu_.view().bringToFront();
            }
        };
        menu_.onTold = [this] {
            endWhenOver();
        };
        menu_.view().onClosed = [this] {
            isOver_ = true;
            endWhenOver();
        };
    }

  private:
    void endWhenOver() {
        if (isOver_ && !menu_.isTelling()) {
            leave(exitDone);
        }
    }

    MenuOnBus<QtMenuWindow> menu_;
    bool isShown_ = false;
    bool isOver_ = false;
};

/// Takes a variable out of the environment.
std::string take(const char* name) {
    auto value = qgetenv(name).toStdString();
    qunsetenv(name);
    return value;
}

int run(WindowRole role, const std::string& owner, int& argumentCount, char** arguments) {
    const std::string token = take(WindowProtocol::tokenVariable);
    BusInQt bus;
    if (!bus.isConnected()) {
        printLine(stderr, "brindle-recorder-window: there is no session bus here");
        return exitCouldNotRun;
    }
    if (!qtCanReachTheScreen()) {
        printLine(stderr, "brindle-recorder-window: there is no screen here that Qt can reach");
        return exitCouldNotRun;
    }
    std::optional<AccessibilityBus> screenReaders;
    if (role == WindowRole::trayIcon) {
        screenReaders.emplace(bus);
    }
    keepGtkToItsLooks();
    QApplication::setApplicationName(QStringLiteral("Brindle Recorder"));
    QApplication::setDesktopFileName(QStringLiteral("com.tamsworth.brindlerecorder"));
    QApplication::setQuitOnLastWindowClosed(false);
    const QApplication application{argumentCount, arguments};
    if ((role == WindowRole::trayIcon || role == WindowRole::menu) && !isOnX11()) {
        return exitDone; // there is nothing to do here
    }
    bus.serve();
    if (screenReaders) {
        screenReaders->onScreenReader = [&] {
            // Qt asks for one only when it begins.
            AccessibilityBus::showSessionBusAgain();
            qputenv(WindowProtocol::tokenVariable, QByteArray::fromStdString(token));
            ::execv("/proc/self/exe", arguments);
        };
    }
    RecorderLink recorder{bus, token, [] {
                              leave(exitDone);
                          }};
    std::optional<SetupWindowRole> setupWindow;
    std::optional<TrayIconRole> trayIcon;
    std::optional<MenuRole> menu;
    std::optional<MenuWindowRole> menuWindow;
    switch (role) {
    case WindowRole::setupWindow:
        setupWindow.emplace(recorder);
        break;
    case WindowRole::trayIcon:
        trayIcon.emplace(bus, recorder, owner);
        break;
    case WindowRole::menu:
        menu.emplace(bus, owner);
        break;
    case WindowRole::menuWindow:
        menuWindow.emplace(bus, recorder, owner);
        break;
    }
    return QApplication::exec();
}

} // namespace
} // namespace brindle

int main(int argumentCount, char** arguments) {
    const auto role = argumentCount == 3
                          ? brindle::WindowProtocol::roleOfName(std::string_view{arguments[1]})
                          : std::nullopt;
    if (!role) {
        brindle::printLine(
            stderr, "brindle-recorder-window is started by brindle-recorder when it has something "
                    "to show");
        return brindle::exitBadUsage;
    }
    try {
        static const brindle::GettextLanguage language{
            brindle::GettextLanguage::catalogues(BRINDLE_CATALOGUES)};
        brindle::Language::useForTheUser(language);
        return brindle::run(*role, arguments[2], argumentCount, arguments);
    } catch (const std::exception& error) {
        brindle::printLine(stderr, std::string{"brindle-recorder-window: "} + error.what());
        return brindle::exitCouldNotRun;
    }
}
