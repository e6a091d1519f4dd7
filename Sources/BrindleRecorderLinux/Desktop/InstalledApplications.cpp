#include "BrindleRecorderLinux/Desktop/InstalledApplications.hpp"

#include "BrindleRecorderCore/Base/FileManager.hpp"
#include "BrindleRecorderLinux/Desktop/DesktopEntry.hpp"
#include "BrindleRecorderLinux/Files/UserFolders.hpp"

#include <cstdint>
#include <utility>

namespace brindle {

namespace {

constexpr std::int64_t maxEntryBytes = 1 << 18; // with its texts in every language
constexpr const char* starter = "gio";

std::vector<std::filesystem::path> foldersOfEntries() {
    std::vector<std::filesystem::path> folders;
    for (const auto& folder : UserFolders::data()) {
        folders.push_back(folder / "applications");
    }
    return folders;
}

} // namespace

InstalledApplications::InstalledApplications(FileManager& fileManager, EventLoop& loop)
    : fileManager_{fileManager}, folders_{foldersOfEntries()}, programs_{loop} {}

std::optional<std::filesystem::path>
InstalledApplications::find(const std::string& identifier) const {
    for (const auto& folder : folders_) {
        auto file = folder / (identifier + ".desktop");
        const auto contents = fileManager_.readFile(file, maxEntryBytes);
        if (!contents) {
            continue;
        }
        // The foremost counts, also where it says that there is none.
        const auto entry = DesktopEntry::read(*contents);
        const bool canBeStarted = entry && entry->value("Type") == "Application" &&
                                  !entry->flag("Hidden").value_or(false) && entry->program() &&
                                  findProgram(starter);
        return canBeStarted ? std::optional{std::move(file)} : std::nullopt;
    }
    return std::nullopt;
}

void InstalledApplications::open(const std::filesystem::path& desktopEntry) {
    static_cast<void>(programs_.start({starter, "launch", desktopEntry.string()}, {}));
}

void InstalledApplications::openFolder(
    const std::filesystem::path& folder, const std::function<void()>& otherwise) {
    const auto started =
        programs_.start({starter, "open", folder.string()}, [otherwise](int status) {
            if (status != 0) {
                otherwise();
            }
        });
    if (!started) {
        otherwise();
    }
}

} // namespace brindle
