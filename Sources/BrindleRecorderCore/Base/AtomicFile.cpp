#include "BrindleRecorderCore/Base/AtomicFile.hpp"

#include <atomic>
#include <cstdint>
#include <fmt/format.h>
#include <unistd.h>

namespace brindle {

namespace {

/// A name that no other call of this process uses. The target's name is not a part of it, so that a
/// name of the greatest length can be written too.
std::filesystem::path temporaryBeside(const std::filesystem::path& path) {
    static std::atomic<std::uint64_t> calls{0};
    return path.parent_path() / fmt::format(".brindle-{}-{}.tmp", ::getpid(), ++calls);
}

} // namespace

Expected<void, FileError> AtomicFile::write(
    FileManager& fileManager, const std::filesystem::path& path, std::string_view contents) {
    // An earlier process of the same id may have lost power and left its file behind. That one is
    // not ours to touch: take the next name.
    constexpr int mostLeftovers = 1000;
    std::filesystem::path temporary = temporaryBeside(path);
    auto created = fileManager.createSyncedFile(temporary, contents);
    for (int leftovers = 0; !created && created.error().code == std::errc::file_exists;
         ++leftovers) {
        if (leftovers == mostLeftovers) {
            return created;
        }
        temporary = temporaryBeside(path);
        created = fileManager.createSyncedFile(temporary, contents);
    }
    if (!created) {
        fileManager.removeFile(temporary);
        return created;
    }
    if (auto moved = fileManager.moveFile(temporary, path); !moved) {
        fileManager.removeFile(temporary);
        return moved;
    }
    return fileManager.syncDirectory(path.parent_path());
}

} // namespace brindle
