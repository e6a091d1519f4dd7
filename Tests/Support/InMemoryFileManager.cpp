#include "Support/InMemoryFileManager.hpp"

#include <algorithm>
#include <random>
#include <string_view>

namespace brindle::test {

namespace {

using Path = std::filesystem::path;

/// The one spelling under which a path is kept.
Path keyOf(const Path& path) {
    Path normal = path.lexically_normal();
    return normal.has_filename() || normal == normal.root_path() ? normal : normal.parent_path();
}

unexpected<FileError> failure(std::errc error, const Path& path) {
    return unexpected{FileError{std::make_error_code(error), path}};
}

bool isHidden(const Path& path) {
    return path.filename().native().starts_with('.');
}

bool isInside(const Path& path, const Path& directory) {
    return path.native().starts_with(directory.native() + '/');
}

} // namespace

InMemoryFileManager::InMemoryFileManager() {
    putDirectory("/");
}

InMemoryFileManager::InMemoryFileManager(const DateProvider& clock) : clock_{&clock} {
    putDirectory("/");
}

// --- Setting the scene ---

void InMemoryFileManager::putFile(const Path& path, std::string contents) {
    const std::lock_guard lock{mutex_};
    putDirectory(keyOf(path).parent_path());
    const NodePointer node = makeNode(false);
    node->contents = std::move(contents);
    node->syncedBytes = node->contents.size();
    tree_[keyOf(path)] = durable_[keyOf(path)] = node;
}

void InMemoryFileManager::removeTree(const Path& directory) {
    const std::lock_guard lock{mutex_};
    const Path root = keyOf(directory);
    const auto isGone = [&](const auto& entry) {
        return entry.first == root || isInside(entry.first, root);
    };
    std::erase_if(tree_, isGone);
    std::erase_if(durable_, isGone);
    std::erase_if(unsynced_, [&](const Change& change) {
        return std::any_of(change.begin(), change.end(), isGone);
    });
}

void InMemoryFileManager::linkFile(const Path& path, const Path& name) {
    const std::lock_guard lock{mutex_};
    const NodePointer node = find(path);
    if (node && !node->isDirectory && !find(name)) {
        commit({{keyOf(name), node}});
    }
}

void InMemoryFileManager::setModificationDate(const Path& path, Date date) {
    const std::lock_guard lock{mutex_};
    find(path)->modified = date;
}

void InMemoryFileManager::setReportedSize(const Path& path, std::int64_t bytes) {
    const std::lock_guard lock{mutex_};
    find(path)->reportedSize = bytes;
}

void InMemoryFileManager::setAvailableCapacity(std::optional<std::int64_t> bytes) {
    const std::lock_guard lock{mutex_};
    capacity_ = bytes;
}

void InMemoryFileManager::setRoomLeft(std::optional<std::int64_t> bytes) {
    const std::lock_guard lock{mutex_};
    roomLeft_ = bytes;
}

// --- Failing calls ---

void InMemoryFileManager::failCall(Operation operation, int nth, std::errc error) {
    const std::lock_guard lock{mutex_};
    faults_.push_back({operation, std::nullopt, nth, error});
}

void InMemoryFileManager::failAnyCall(int nth, std::errc error) {
    const std::lock_guard lock{mutex_};
    faults_.push_back({std::nullopt, std::nullopt, nth, error});
}

void InMemoryFileManager::failEveryCall(Operation operation, std::errc error) {
    const std::lock_guard lock{mutex_};
    faults_.push_back({operation, std::nullopt, std::nullopt, error});
}

void InMemoryFileManager::failEveryCallWith(const Path& path, std::errc error) {
    const std::lock_guard lock{mutex_};
    faults_.push_back({std::nullopt, keyOf(path), std::nullopt, error});
}

void InMemoryFileManager::stopFailing() {
    const std::lock_guard lock{mutex_};
    faults_.clear();
}

std::optional<std::errc> InMemoryFileManager::enter(Operation operation, const Path& path) const {
    calls_.push_back({operation, path});
    std::optional<std::errc> error;
    for (Fault& fault : faults_) {
        if ((fault.operation && *fault.operation != operation) ||
            (fault.path && *fault.path != keyOf(path))) {
            continue;
        }
        if (!fault.callsUntilOnce || --*fault.callsUntilOnce == 0) {
            error = fault.error;
        }
    }
    return error;
}

// --- Losing power ---

void InMemoryFileManager::syncFile(const Path& path) {
    const std::lock_guard lock{mutex_};
    if (const NodePointer node = find(path)) {
        node->syncedBytes = node->contents.size();
    }
}

void InMemoryFileManager::losePower() {
    const std::lock_guard lock{mutex_};
    tree_ = durable_;
    unsynced_.clear();
    for (const auto& [path, node] : tree_) {
        node->contents.resize(node->syncedBytes);
    }
}

void InMemoryFileManager::losePower(std::uint64_t seed) {
    const std::lock_guard lock{mutex_};
    std::mt19937_64 random{seed};
    // A file system may write what changed in folders in any order, each change whole or not at
    // all.
    constexpr std::uint64_t shares = 4;
    const std::uint64_t survivingShares = random() % (shares + 1);
    for (const Change& change : unsynced_) {
        if (random() % shares < survivingShares) {
            apply(change, durable_);
        }
    }
    tree_ = durable_;
    unsynced_.clear();
    for (const auto& [path, node] : tree_) {
        const std::size_t unsyncedBytes = node->contents.size() - node->syncedBytes;
        node->syncedBytes += random() % (unsyncedBytes + 1);
        node->contents.resize(node->syncedBytes);
    }
}

void InMemoryFileManager::apply(const Change& change, Tree& tree) {
    for (const auto& [path, node] : change) {
        if (node) {
            tree[path] = node;
        } else {
            tree.erase(path);
        }
    }
}

void InMemoryFileManager::commit(Change change) {
    apply(change, tree_);
    unsynced_.push_back(std::move(change));
}

// --- Looking on ---

std::vector<Path> InMemoryFileManager::files() const {
    const std::lock_guard lock{mutex_};
    std::vector<Path> found;
    for (const auto& [path, node] : tree_) {
        if (!node->isDirectory) {
            found.push_back(path);
        }
    }
    return found;
}

std::optional<std::string> InMemoryFileManager::contents(const Path& path) const {
    const std::lock_guard lock{mutex_};
    const NodePointer node = find(path);
    return node && !node->isDirectory ? std::optional{node->contents} : std::nullopt;
}

bool InMemoryFileManager::isDirectory(const Path& path) const {
    const std::lock_guard lock{mutex_};
    const NodePointer node = find(path);
    return node && node->isDirectory;
}

std::vector<InMemoryFileManager::Call> InMemoryFileManager::calls() const {
    const std::lock_guard lock{mutex_};
    return calls_;
}

void InMemoryFileManager::forgetCalls() {
    const std::lock_guard lock{mutex_};
    calls_.clear();
}

// --- The tree ---

Date InMemoryFileManager::now() const {
    return clock_ != nullptr ? clock_->now() : Date{};
}

InMemoryFileManager::NodePointer InMemoryFileManager::makeNode(bool isDirectory) const {
    auto node = std::make_shared<Node>();
    node->isDirectory = isDirectory;
    node->modified = now();
    return node;
}

void InMemoryFileManager::putDirectory(const Path& directory) {
    if (find(directory)) {
        return;
    }
    if (directory.has_relative_path()) {
        putDirectory(directory.parent_path());
    }
    tree_[directory] = durable_[directory] = makeNode(true);
}

InMemoryFileManager::NodePointer InMemoryFileManager::find(const Path& path) const {
    const auto found = tree_.find(keyOf(path));
    return found == tree_.end() ? nullptr : found->second;
}

Expected<InMemoryFileManager::NodePointer, FileError>
InMemoryFileManager::existing(const Path& path) const {
    if (NodePointer node = find(path)) {
        return node;
    }
    for (Path above = keyOf(path).parent_path(); above.has_relative_path();
         above = above.parent_path()) {
        if (const NodePointer node = find(above)) {
            return failure(
                node->isDirectory ? std::errc::no_such_file_or_directory
                                  : std::errc::not_a_directory,
                path);
        }
    }
    return failure(std::errc::no_such_file_or_directory, path);
}

Expected<InMemoryFileManager::NodePointer, FileError>
InMemoryFileManager::existingFile(const Path& path) const {
    auto node = existing(path);
    if (node && (*node)->isDirectory) {
        return failure(std::errc::is_a_directory, path);
    }
    return node;
}

Expected<void, FileError> InMemoryFileManager::requireFolder(const Path& path) const {
    const auto node = existing(path);
    if (!node) {
        return unexpected{node.error()};
    }
    if (!(*node)->isDirectory) {
        return failure(std::errc::not_a_directory, path);
    }
    return {};
}

// --- The operations ---

Expected<std::vector<DirectoryEntry>, FileError>
InMemoryFileManager::contentsOfDirectory(const Path& directory) const {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::contentsOfDirectory, directory)) {
        return failure(*error, directory);
    }
    if (const auto folder = requireFolder(directory); !folder) {
        return unexpected{folder.error()};
    }
    std::vector<DirectoryEntry> entries;
    for (const auto& [path, node] : tree_) {
        if (!path.has_relative_path() || path.parent_path() != keyOf(directory) || isHidden(path)) {
            continue;
        }
        std::optional<std::int64_t> size;
        if (!node->isDirectory) {
            size = node->reportedSize.value_or(static_cast<std::int64_t>(node->contents.size()));
        }
        entries.push_back({directory / path.filename(), size});
    }
    return entries;
}

bool InMemoryFileManager::fileExists(const Path& path) const {
    const std::lock_guard lock{mutex_};
    const auto error = enter(Operation::fileExists, path);
    return error ? *error != std::errc::permission_denied : find(path) != nullptr;
}

Expected<std::int64_t, FileError> InMemoryFileManager::fileSize(const Path& path) const {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::fileSize, path)) {
        return failure(*error, path);
    }
    const auto node = existingFile(path);
    if (!node) {
        return unexpected{node.error()};
    }
    return (*node)->reportedSize.value_or(static_cast<std::int64_t>((*node)->contents.size()));
}

Expected<Date, FileError> InMemoryFileManager::modificationDate(const Path& path) const {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::modificationDate, path)) {
        return failure(*error, path);
    }
    const auto node = existing(path);
    if (!node) {
        return unexpected{node.error()};
    }
    return (*node)->modified;
}

Expected<std::string, FileError>
InMemoryFileManager::readFile(const Path& path, std::int64_t maxBytes) const {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::readFile, path)) {
        return failure(*error, path);
    }
    const auto node = existingFile(path);
    if (!node) {
        return unexpected{node.error()};
    }
    if (static_cast<std::int64_t>((*node)->contents.size()) > maxBytes) {
        return failure(std::errc::file_too_large, path);
    }
    return (*node)->contents;
}

Expected<void, FileError> InMemoryFileManager::createDirectory(const Path& directory) {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::createDirectory, directory)) {
        return failure(*error, directory);
    }
    const auto node = existing(directory);
    if ((node && !(*node)->isDirectory) ||
        (!node && node.error().code == std::errc::not_a_directory)) {
        return failure(std::errc::not_a_directory, directory);
    }
    putDirectory(keyOf(directory));
    return {};
}

Expected<void, FileError>
InMemoryFileManager::createSyncedFile(const Path& path, std::string_view contents) {
    const std::lock_guard lock{mutex_};
    const auto error = enter(Operation::createSyncedFile, path);
    if (error && error != std::errc::io_error && error != std::errc::no_space_on_device) {
        return failure(*error, path);
    }
    if (find(path)) {
        return failure(std::errc::file_exists, path);
    }
    if (auto folder = requireFolder(keyOf(path).parent_path()); !folder) {
        return folder;
    }
    const NodePointer node = makeNode(false);
    commit({{keyOf(path), node}});
    if (error) {
        node->contents = contents.substr(0, contents.size() / 2);
        return failure(*error, path);
    }
    if (roomLeft_ && static_cast<std::int64_t>(contents.size()) > *roomLeft_) {
        node->contents = contents.substr(0, static_cast<std::size_t>(*roomLeft_));
        roomLeft_ = 0;
        return failure(std::errc::no_space_on_device, path);
    }
    if (roomLeft_) {
        *roomLeft_ -= static_cast<std::int64_t>(contents.size());
    }
    node->contents = contents;
    node->syncedBytes = contents.size();
    return {};
}

Expected<void, FileError>
InMemoryFileManager::appendToFile(const Path& path, std::string_view contents) {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::appendToFile, path)) {
        return failure(*error, path);
    }
    if (auto folder = requireFolder(keyOf(path).parent_path()); !folder) {
        return folder;
    }
    NodePointer node = find(path);
    if (node && node->isDirectory) {
        return failure(std::errc::is_a_directory, path);
    }
    if (!node) {
        node = makeNode(false);
        commit({{keyOf(path), node}});
    }
    if (roomLeft_) {
        if (static_cast<std::int64_t>(contents.size()) > *roomLeft_) {
            return failure(std::errc::no_space_on_device, path);
        }
        *roomLeft_ -= static_cast<std::int64_t>(contents.size());
    }
    node->contents += contents;
    node->modified = now();
    return {};
}

Expected<void, FileError> InMemoryFileManager::moveFile(const Path& from, const Path& to) {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::moveFile, from)) {
        return failure(*error, from);
    }
    const auto node = existing(from);
    if (!node) {
        return unexpected{node.error()};
    }
    if (auto folder = requireFolder(keyOf(to).parent_path()); !folder) {
        return folder;
    }
    const NodePointer target = find(to);
    if ((*node)->isDirectory) {
        return target ? failure(std::errc::file_exists, from) : moveFolder(keyOf(from), keyOf(to));
    }
    if (target && target->isDirectory) {
        return failure(std::errc::is_a_directory, to);
    }
    if (keyOf(from) != keyOf(to)) {
        commit({{keyOf(from), nullptr}, {keyOf(to), *node}});
    }
    return {};
}

Expected<void, FileError> InMemoryFileManager::moveFolder(const Path& from, const Path& to) {
    Change change{{from, nullptr}, {to, tree_.at(from)}};
    for (const auto& [path, node] : tree_) {
        if (const Path within = path.lexically_relative(from);
            path != from && !within.empty() && *within.begin() != "..") {
            change.emplace_back(path, nullptr);
            change.emplace_back(to / within, node);
        }
    }
    commit(std::move(change));
    return {};
}

Expected<void, FileError> InMemoryFileManager::removeFile(const Path& path) {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::removeFile, path)) {
        return failure(*error, path);
    }
    const auto node = existingFile(path);
    if (!node) {
        return unexpected{node.error()};
    }
    commit({{keyOf(path), nullptr}});
    return {};
}

Expected<void, FileError> InMemoryFileManager::syncDirectory(const Path& directory) {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::syncDirectory, directory)) {
        return failure(*error, directory);
    }
    if (auto folder = requireFolder(directory); !folder) {
        return folder;
    }
    const auto touchesFolder = [&](const Change& change) {
        return std::any_of(change.begin(), change.end(), [&](const auto& entry) {
            return entry.first.parent_path() == keyOf(directory);
        });
    };
    for (const Change& change : unsynced_) {
        if (touchesFolder(change)) {
            apply(change, durable_);
        }
    }
    std::erase_if(unsynced_, touchesFolder);
    return {};
}

Expected<std::optional<std::int64_t>, FileError>
InMemoryFileManager::availableCapacity(const Path& path) const {
    const std::lock_guard lock{mutex_};
    if (const auto error = enter(Operation::availableCapacity, path)) {
        return failure(*error, path);
    }
    if (const auto node = existing(path); !node) {
        return unexpected{node.error()};
    }
    return capacity_;
}

} // namespace brindle::test
