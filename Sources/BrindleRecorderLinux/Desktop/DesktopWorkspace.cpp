#include "BrindleRecorderLinux/Desktop/DesktopWorkspace.hpp"

#include <cctype>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr const char* fileManagerName = "org.freedesktop.FileManager1";
constexpr const char* fileManagerObject = "/org/freedesktop/FileManager1";

/// RFC 8089 ("The file URI Scheme"): every byte that means something else there is written as a
/// number.
std::string addressOf(const std::filesystem::path& file) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view plain = "/-._~";
    std::string address = "file://";
    for (const char character : file.string()) {
        const auto byte = static_cast<std::uint8_t>(character);
        const bool isLetterOrDigit = byte < 0x80 && std::isalnum(byte) != 0;
        if (isLetterOrDigit || plain.find(character) != std::string_view::npos) {
            address += character;
        } else {
            address += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return address;
}

} // namespace

DesktopWorkspace::DesktopWorkspace(Bus& bus, FileManager& fileManager, EventLoop& loop)
    : portal_{bus}, calls_{bus}, applications_{fileManager, loop} {
    portal_.onPrefersDarkChange = [this] {
        isDark_.set(portal_.prefersDark());
    };
    portal_.onReducesMotionChange = [this] {
        reducesMotion_.set(portal_.reducesMotion());
    };
}

void DesktopWorkspace::openFolder(const std::filesystem::path& folder) {
    applications_.openFolder(folder, [this, folder] { showInFileManager(folder); });
}

void DesktopWorkspace::showInFileManager(const std::filesystem::path& folder) {
    auto call = calls_.make(fileManagerName, fileManagerObject, fileManagerName, "ShowFolders");
    sd_bus_message_append(call.get(), "ass", 1, addressOf(folder).c_str(), "");
    calls_.send(std::move(call));
}

std::optional<std::filesystem::path> DesktopWorkspace::ownApplication() const {
    std::error_code error;
    auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : std::optional{std::move(program)};
}

std::optional<std::filesystem::path>
DesktopWorkspace::application(const std::string& bundleIdentifier) const {
    return applications_.find(bundleIdentifier);
}

void DesktopWorkspace::openApplication(const std::filesystem::path& application) {
    applications_.open(application);
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
