#include "Simulation/SimulatedDisk.hpp"

namespace brindle::simulation {

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
        scene_.folderSizes.push_back(scene_.folderSize());
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

bool SimulatedDisk::linkMedia(
    const std::filesystem::path& path, const std::filesystem::path& name) {
    if (!enter() || scene_.random.chance(failingPercent_)) {
        return false;
    }
    scene_.files.linkFile(path, name);
    changed(name);
    return true;
}

Expected<void, FileError>
SimulatedDisk::moveFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    auto result = ForwardingFileManager::moveFile(from, to);
    scene_.note(
        "disk: {} becomes {}{}", from.filename().native(), to.filename().native(),
        result ? "" : " (fails)");
    return result;
}

Expected<void, FileError> SimulatedDisk::removeFile(const std::filesystem::path& path) {
    auto result = ForwardingFileManager::removeFile(path);
    if (result) {
        scene_.note("disk: {} removed", path.filename().native());
    }
    return result;
}

} // namespace brindle::simulation
