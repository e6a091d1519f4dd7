#include "BrindleRecorderLinux/Desktop/AutostartEntry.hpp"

#include "BrindleRecorderCore/Base/AtomicFile.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderLinux/Desktop/DesktopEntry.hpp"
#include "BrindleRecorderLinux/Files/UserFolders.hpp"

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr std::int64_t maxEntryBytes = 1 << 16;
constexpr const char* gnomeSwitch = "X-GNOME-Autostart-enabled";

PlatformError platformError(const FileError& error) {
    PlatformError result;
    result.domain = "POSIX";
    result.code = error.code.value();
    result.description = error.description();
    return result;
}

bool isSwitchedOff(const DesktopEntry& entry) {
    return entry.flag("Hidden").value_or(false) || !entry.flag(gnomeSwitch).value_or(true);
}

} // namespace

std::filesystem::path AutostartEntry::standardFolder() {
    return UserFolders::configuration() / "autostart";
}

AutostartEntry::AutostartEntry(
    FileManager& fileManager, const std::filesystem::path& folder, std::filesystem::path program)
    : fileManager_{fileManager}, file_{folder / fileName}, program_{std::move(program)} {}

LoginItemStatus AutostartEntry::status() const {
    const auto contents = fileManager_.readFile(file_, maxEntryBytes);
    const auto entry = contents ? DesktopEntry::read(*contents) : std::nullopt;
    if (!entry) {
        return LoginItemStatus::notRegistered;
    }
    if (isSwitchedOff(*entry)) {
        return LoginItemStatus::requiresApproval;
    }
    return entry->program() ? LoginItemStatus::enabled : LoginItemStatus::notRegistered;
}

Expected<void, PlatformError> AutostartEntry::registerApplication() {
    if (status() == LoginItemStatus::requiresApproval) {
        return {};
    }
    const std::string contents =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Brindle Recorder\n"
        "Comment=Records your own camera and microphone while you are in a call\n"
        "Exec=" +
        DesktopEntry::escaped(DesktopEntry::quotedForCommand(program_.string())) + "\n" +
        gnomeSwitch + "=true\n";

    if (const auto made = fileManager_.createDirectory(file_.parent_path()); !made) {
        return unexpected{platformError(made.error())};
    }
    if (const auto written = AtomicFile::write(fileManager_, file_, contents); !written) {
        return unexpected{platformError(written.error())};
    }
    return {};
}

Expected<void, PlatformError> AutostartEntry::unregisterApplication() {
    const auto removed = fileManager_.removeFile(file_);
    if (!removed && removed.error().code != std::errc::no_such_file_or_directory) {
        return unexpected{platformError(removed.error())};
    }
    return {};
}

} // namespace brindle
