#include "Support/ForwardingFileManager.hpp"

#include <system_error>

namespace brindle::test {

namespace {

unexpected<FileError> refusal(const std::filesystem::path& path) {
    return unexpected{FileError{std::make_error_code(std::errc::io_error), path}};
}

} // namespace

Expected<std::vector<DirectoryEntry>, FileError>
ForwardingFileManager::contentsOfDirectory(const std::filesystem::path& directory) const {
    if (!enter()) {
        return refusal(directory);
    }
    return disk_.contentsOfDirectory(directory);
}

bool ForwardingFileManager::fileExists(const std::filesystem::path& path) const {
    return !enter() || disk_.fileExists(path);
}

Expected<std::int64_t, FileError>
ForwardingFileManager::fileSize(const std::filesystem::path& path) const {
    if (!enter()) {
        return refusal(path);
    }
    return disk_.fileSize(path);
}

Expected<Date, FileError>
ForwardingFileManager::modificationDate(const std::filesystem::path& path) const {
    if (!enter()) {
        return refusal(path);
    }
    return disk_.modificationDate(path);
}

Expected<std::string, FileError>
ForwardingFileManager::readFile(const std::filesystem::path& path, std::int64_t maxBytes) const {
    if (!enter()) {
        return refusal(path);
    }
    return disk_.readFile(path, maxBytes);
}

Expected<void, FileError>
ForwardingFileManager::createDirectory(const std::filesystem::path& directory) {
    if (!enter()) {
        return refusal(directory);
    }
    return disk_.createDirectory(directory);
}

Expected<void, FileError> ForwardingFileManager::createSyncedFile(
    const std::filesystem::path& path, std::string_view contents) {
    if (!enter()) {
        return refusal(path);
    }
    auto result = disk_.createSyncedFile(path, contents);
    changed(path);
    return result;
}

Expected<void, FileError>
ForwardingFileManager::appendToFile(const std::filesystem::path& path, std::string_view contents) {
    if (!enter()) {
        return refusal(path);
    }
    auto result = disk_.appendToFile(path, contents);
    changed(path);
    return result;
}

Expected<void, FileError> ForwardingFileManager::moveFile(
    const std::filesystem::path& from, const std::filesystem::path& to) {
    if (!enter()) {
        return refusal(from);
    }
    auto result = disk_.moveFile(from, to);
    changed(to);
    return result;
}

Expected<void, FileError> ForwardingFileManager::removeFile(const std::filesystem::path& path) {
    if (!enter()) {
        return refusal(path);
    }
    auto result = disk_.removeFile(path);
    if (result) {
        changed(path);
    }
    return result;
}

Expected<void, FileError>
ForwardingFileManager::syncDirectory(const std::filesystem::path& directory) {
    if (!enter()) {
        return refusal(directory);
    }
    return disk_.syncDirectory(directory);
}

Expected<std::optional<std::int64_t>, FileError>
ForwardingFileManager::availableCapacity(const std::filesystem::path& path) const {
    if (!enter()) {
        return refusal(path);
    }
    return disk_.availableCapacity(path);
}

} // namespace brindle::test
