#include "BrindleRecorderLinux/Qt/DesktopWorkspace.hpp"

#include "BrindleRecorderLinux/Gio/InstalledApplications.hpp"

#include <QDBusMessage>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <system_error>
#include <utility>

namespace brindle {

DesktopWorkspace::DesktopWorkspace(QDBusConnection bus) : bus_{std::move(bus)}, portal_{bus_} {
    portal_.onPrefersDarkChange = [this] {
        isDark_.set(portal_.prefersDark());
    };
    portal_.onReducesMotionChange = [this] {
        reducesMotion_.set(portal_.reducesMotion());
    };
}

void DesktopWorkspace::openFolder(const std::filesystem::path& folder) {
    if (InstalledApplications::openFolder(folder)) {
        return;
    }
    const auto address = QUrl::fromLocalFile(QString::fromStdString(folder.string()));
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowFolders"));
    call << QStringList{address.toString(QUrl::FullyEncoded)} << QString{};
    bus_.send(call);
}

std::optional<std::filesystem::path> DesktopWorkspace::ownApplication() const {
    std::error_code error;
    auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : std::optional{std::move(program)};
}

std::optional<std::filesystem::path>
DesktopWorkspace::application(const std::string& bundleIdentifier) const {
    return InstalledApplications::find(bundleIdentifier);
}

void DesktopWorkspace::openApplication(const std::filesystem::path& application) {
    InstalledApplications::open(application);
}

std::unique_ptr<Observation> DesktopWorkspace::observeReduceMotion(Listener listener) {
    return reducesMotion_.observe(
        [listener = std::move(listener)](const bool& /*reduced*/) { listener(); });
}

Appearance DesktopWorkspace::appearance() const {
    return portal_.prefersDark() ? Appearance::dark : Appearance::light;
}

std::unique_ptr<Observation> DesktopWorkspace::observeAppearance(Listener listener) {
    return isDark_.observe([listener = std::move(listener)](const bool& /*dark*/) { listener(); });
}

} // namespace brindle
