#include "Simulation/SimulatedDisk.hpp"

#include <system_error>

namespace brindle::simulation {

namespace {

unexpected<FileError> deadError(const std::filesystem::path& path) {
    return unexpected{FileError{std::make_error_code(std::errc::io_error), path}};
}

} // namespace

void SimulatedDisk::setSickness(unsigned failingPercent, unsigned slowPercent) {
    failingPercent_ = failingPercent;
    slowPercent_ = slowPercent;
}

bool SimulatedDisk::enter() const {
    if (dead_) {
        return false;
    }
    if (slowPercent_ > 0 && scene_.random.chance(slowPercent_)) {
        const Seconds wait = scene_.between(0.01, 1.5);
        scene_.timeline.pass(wait);
        scene_.blocked += wait;
        scene_.lastSlow = scene_.timeline.now();
    }
    if (failingPercent_ > 0 && scene_.random.chance(failingPercent_)) {
        ++scene_.statistics.diskFaults;
        scene_.trouble();
        scene_.note("disk: the next operation fails");
        scene_.files.failAnyCall(
            1, scene_.random.chance(50) ? std::errc::io_error : std::errc::no_space_on_device);
    }
    return true;
}

void SimulatedDisk::changed(const std::filesystem::path& path) {
    if (!path.filename().native().starts_with('.')) {
        scene_.touched.insert(path.stem().native());
    }
    if (changesLeft_ && --*changesLeft_ <= 0) {
        changesLeft_.reset();
        dead_ = true;
        scene_.note("disk: the program dies after a change to {}", path.filename().native());
    }
}

bool SimulatedDisk::appendMedia(const std::filesystem::path& path, const std::string& text) {
    if (!enter() || !scene_.files.appendToFile(path, text)) {
        return false;
    }
    changed(path);
    return true;
}

bool SimulatedDisk::syncMedia(const std::filesystem::path& path) {
    if (dead_ || scene_.random.chance(failingPercent_)) {
        return false;
    }
    scene_.files.syncFile(path);
    return true;
}

Expected<std::vector<DirectoryEntry>, FileError>
SimulatedDisk::contentsOfDirectory(const std::filesystem::path& directory) const {
    if (!enter()) {
        return deadError(directory);
    }
    return scene_.files.contentsOfDirectory(directory);
}

bool SimulatedDisk::fileExists(const std::filesystem::path& path) const {
    return enter() && scene_.files.fileExists(path);
}

Expected<std::int64_t, FileError> SimulatedDisk::fileSize(const std::filesystem::path& path) const {
    if (!enter()) {
        return deadError(path);
    }
    return scene_.files.fileSize(path);
}

Expected<Date, FileError> SimulatedDisk::modificationDate(const std::filesystem::path& path) const {
    if (!enter()) {
        return deadError(path);
    }
    return scene_.files.modificationDate(path);
}

Expected<std::string, FileError>
SimulatedDisk::readFile(const std::filesystem::path& path, std::int64_t maxBytes) const {
    if (!enter()) {
        return deadError(path);
    }
    return scene_.files.readFile(path, maxBytes);
}

Expected<void, FileError> SimulatedDisk::createDirectory(const std::filesystem::path& directory) {
    if (!enter()) {
        return deadError(directory);
    }
    return scene_.files.createDirectory(directory);
}

Expected<void, FileError>
SimulatedDisk::createSyncedFile(const std::filesystem::path& path, std::string_view contents) {
    if (!enter()) {
        return deadError(path);
    }
    auto result = scene_.files.createSyncedFile(path, contents);
    changed(path);
    return result;
}

Expected<void, FileError>
SimulatedDisk::appendToFile(const std::filesystem::path& path, std::string_view contents) {
    if (!enter()) {
        return deadError(path);
    }
    auto result = scene_.files.appendToFile(path, contents);
    changed(path);
    return result;
}

Expected<void, FileError>
SimulatedDisk::moveFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (!enter()) {
        return deadError(from);
    }
    auto result = scene_.files.moveFile(from, to);
    scene_.note(
        "disk: {} becomes {}{}", from.filename().native(), to.filename().native(),
        result ? "" : " (fails)");
    changed(to);
    return result;
}

Expected<void, FileError> SimulatedDisk::removeFile(const std::filesystem::path& path) {
    if (!enter()) {
        return deadError(path);
    }
    auto result = scene_.files.removeFile(path);
    if (result) {
        scene_.note("disk: {} removed", path.filename().native());
        changed(path);
    }
    return result;
}

Expected<void, FileError> SimulatedDisk::syncDirectory(const std::filesystem::path& directory) {
    if (!enter()) {
        return deadError(directory);
    }
    return scene_.files.syncDirectory(directory);
}

Expected<std::optional<std::int64_t>, FileError>
SimulatedDisk::availableCapacity(const std::filesystem::path& path) const {
    if (!enter()) {
        return deadError(path);
    }
    return scene_.files.availableCapacity(path);
}

} // namespace brindle::simulation
