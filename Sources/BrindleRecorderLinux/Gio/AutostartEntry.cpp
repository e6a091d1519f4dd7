#include "BrindleRecorderLinux/Gio/AutostartEntry.hpp"

#include "BrindleRecorderCore/Base/AtomicFile.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderLinux/Files/UserFolders.hpp"
#include "BrindleRecorderLinux/Gio/Handles.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr std::int64_t maxEntryBytes = 1 << 16;
constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;
constexpr const char* gnomeSwitch = "X-GNOME-Autostart-enabled";

PlatformError platformError(const FileError& error) {
    PlatformError result;
    result.domain = "POSIX";
    result.code = error.code.value();
    result.description = error.description();
    return result;
}

/// One word of a command line in a desktop entry (Desktop Entry Specification, "The Exec key").
std::string quotedForExec(const std::string& word) {
    std::string quoted = "\"";
    for (const char character : word) {
        if (std::string_view{"\"`$\\"}.find(character) != std::string_view::npos) {
            quoted += '\\';
        } else if (character == '%') {
            quoted += '%';
        }
        quoted += character;
    }
    return quoted + "\"";
}

bool canBeStarted(GKeyFile* entry) {
    const gio::Text command{
        g_key_file_get_string(entry, group, G_KEY_FILE_DESKTOP_KEY_EXEC, nullptr)};
    int count = 0;
    char** words = nullptr;
    if (command == nullptr || g_shell_parse_argv(command.get(), &count, &words, nullptr) == 0) {
        return false;
    }
    const gio::Words owner{words};
    std::string program = words[0];
    for (auto at = program.find("%%"); at != std::string::npos; at = program.find("%%", at + 1)) {
        program.erase(at, 1);
    }
    const gio::Text found{g_find_program_in_path(program.c_str())};
    return found != nullptr;
}

bool isSwitchedOff(GKeyFile* entry) {
    return g_key_file_get_boolean(entry, group, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr) != 0 ||
           (g_key_file_has_key(entry, group, gnomeSwitch, nullptr) != 0 &&
            g_key_file_get_boolean(entry, group, gnomeSwitch, nullptr) == 0);
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
    const gio::KeyFile entry{g_key_file_new()};
    if (!contents ||
        g_key_file_load_from_data(
            entry.get(), contents->c_str(), contents->size(), G_KEY_FILE_NONE, nullptr) == 0) {
        return LoginItemStatus::notRegistered;
    }
    if (isSwitchedOff(entry.get())) {
        return LoginItemStatus::requiresApproval;
    }
    return canBeStarted(entry.get()) ? LoginItemStatus::enabled : LoginItemStatus::notRegistered;
}

Expected<void, PlatformError> AutostartEntry::registerApplication() {
    if (status() == LoginItemStatus::requiresApproval) {
        return {};
    }
    const gio::KeyFile entry{g_key_file_new()};
    const auto set = [&](const char* key, const std::string& value) {
        g_key_file_set_string(entry.get(), group, key, value.c_str());
    };
    set(G_KEY_FILE_DESKTOP_KEY_TYPE, "Application");
    set(G_KEY_FILE_DESKTOP_KEY_NAME, "Brindle Recorder");
    set(G_KEY_FILE_DESKTOP_KEY_COMMENT,
        "Records your own camera and microphone while you are in a call");
    set(G_KEY_FILE_DESKTOP_KEY_EXEC, quotedForExec(program_.string()));
    set(gnomeSwitch, "true");
    gsize length = 0;
    const gio::Text contents{g_key_file_to_data(entry.get(), &length, nullptr)};

    if (const auto made = fileManager_.createDirectory(file_.parent_path()); !made) {
        return unexpected{platformError(made.error())};
    }
    const auto written =
        AtomicFile::write(fileManager_, file_, std::string_view{contents.get(), length});
    if (!written) {
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
