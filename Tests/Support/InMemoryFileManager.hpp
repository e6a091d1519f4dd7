// A disk in memory that fails when a test says so, fills up, and forgets at a loss of power what
// was not synced.
#pragma once

#include "BrindleRecorderCore/Base/DateProvider.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace brindle::test {

class InMemoryFileManager final : public FileManager {
  public:
    enum class Operation {
        contentsOfDirectory,
        fileExists,
        fileSize,
        modificationDate,
        readFile,
        createDirectory,
        createSyncedFile,
        appendToFile,
        moveFile,
        removeFile,
        syncDirectory,
        availableCapacity
    };

    /// A call that was made, failed ones included.
    struct Call {
        Operation operation;
        std::filesystem::path path; ///< of a move: where from

        friend bool operator==(const Call&, const Call&) = default;
    };

    /// An empty disk on which every file is dated at the epoch.
    InMemoryFileManager();
    /// An empty disk that dates its files by that clock, which must outlive it.
    explicit InMemoryFileManager(const DateProvider& clock);

    // --- Setting the scene ---

    /// Puts a file there as if it had always been there, with the folders above it. Synced.
    void putFile(const std::filesystem::path& path, std::string contents);
    /// Takes a folder away with all that is in it, as somebody else might. Synced.
    void removeTree(const std::filesystem::path& directory);
    void setModificationDate(const std::filesystem::path& path, Date date);
    /// Lets a file say that it has so many bytes, whatever it holds.
    void setReportedSize(const std::filesystem::path& path, std::int64_t bytes);
    /// What availableCapacity answers; nothing when the volume does not say.
    void setAvailableCapacity(std::optional<std::int64_t> bytes);
    /// How many more bytes can be written before the disk is full; nothing for no limit.
    void setRoomLeft(std::optional<std::int64_t> bytes);

    /// Gives a file a second name, as whoever has it open would; nothing where that is taken. Not
    /// synced.
    void linkFile(const std::filesystem::path& path, const std::filesystem::path& name);

    // --- Failing calls (a call that fails does nothing, but a file that was being created is left
    // half-written by an input/output error or a full disk) ---

    /// Fails one call: the `nth` from now of that operation, counted from 1.
    void failCall(Operation operation, int nth, std::errc error = std::errc::io_error);
    /// Fails one call: the `nth` from now of any operation, counted from 1.
    void failAnyCall(int nth, std::errc error = std::errc::io_error);
    void failEveryCall(Operation operation, std::errc error = std::errc::io_error);
    void
    failEveryCallWith(const std::filesystem::path& path, std::errc error = std::errc::io_error);
    void stopFailing();

    // --- Losing power ---

    /// Syncs what a file holds to the disk, as whoever writes it through a descriptor would.
    void syncFile(const std::filesystem::path& path);
    /// Loses whatever was not synced: files hold what they held when they were last synced, and
    /// folders list what they listed when they were last synced.
    void losePower();
    /// Loses a part of what was not synced, chosen by the seed: any of the changes to folders, and
    /// of each file any number of its last bytes.
    void losePower(std::uint64_t seed);

    // --- Looking on (neither counted nor failed) ---

    /// Every file, hidden ones included, in order of path.
    [[nodiscard]] std::vector<std::filesystem::path> files() const;
    /// A file's contents; nothing when there is no such file.
    [[nodiscard]] std::optional<std::string> contents(const std::filesystem::path& path) const;
    [[nodiscard]] bool isDirectory(const std::filesystem::path& path) const;
    /// Every call so far, in order.
    [[nodiscard]] std::vector<Call> calls() const;
    void forgetCalls();

    [[nodiscard]] Expected<std::vector<DirectoryEntry>, FileError>
    contentsOfDirectory(const std::filesystem::path& directory) const override;
    [[nodiscard]] bool fileExists(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<std::int64_t, FileError>
    fileSize(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<Date, FileError>
    modificationDate(const std::filesystem::path& path) const override;
    [[nodiscard]] Expected<std::string, FileError>
    readFile(const std::filesystem::path& path, std::int64_t maxBytes) const override;
    Expected<void, FileError> createDirectory(const std::filesystem::path& directory) override;
    Expected<void, FileError>
    createSyncedFile(const std::filesystem::path& path, std::string_view contents) override;
    Expected<void, FileError>
    appendToFile(const std::filesystem::path& path, std::string_view contents) override;
    Expected<void, FileError>
    moveFile(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Expected<void, FileError> removeFile(const std::filesystem::path& path) override;
    Expected<void, FileError> syncDirectory(const std::filesystem::path& directory) override;
    [[nodiscard]] Expected<std::optional<std::int64_t>, FileError>
    availableCapacity(const std::filesystem::path& path) const override;

  private:
    struct Node {
        bool isDirectory = false;
        std::string contents;
        std::size_t syncedBytes = 0; ///< files only ever grow, so a length says what is synced
        std::optional<std::int64_t> reportedSize;
        Date modified{};
    };
    using NodePointer = std::shared_ptr<Node>;
    using Tree = std::map<std::filesystem::path, NodePointer>;
    /// One change to folders: what each path then names (null: nothing any more).
    using Change = std::vector<std::pair<std::filesystem::path, NodePointer>>;

    struct Fault {
        std::optional<Operation> operation;
        std::optional<std::filesystem::path> path;
        std::optional<int> callsUntilOnce; ///< absent: every matching call fails
        std::errc error;
    };

    static void apply(const Change& change, Tree& tree);
    void commit(Change change);
    /// Records the call; the error when it is to fail.
    std::optional<std::errc> enter(Operation operation, const std::filesystem::path& path) const;
    [[nodiscard]] NodePointer find(const std::filesystem::path& path) const;
    [[nodiscard]] Expected<NodePointer, FileError>
    existing(const std::filesystem::path& path) const;
    [[nodiscard]] Expected<NodePointer, FileError>
    existingFile(const std::filesystem::path& path) const;
    [[nodiscard]] Expected<void, FileError> requireFolder(const std::filesystem::path& path) const;
    Expected<void, FileError>
    moveFolder(const std::filesystem::path& from, const std::filesystem::path& to);
    [[nodiscard]] Date now() const;
    NodePointer makeNode(bool isDirectory) const;
    void putDirectory(const std::filesystem::path& directory);

    mutable std::mutex mutex_;
    mutable std::vector<Fault> faults_;
    mutable std::vector<Call> calls_;
    const DateProvider* clock_ = nullptr;
    Tree tree_;                    ///< as programs see it
    Tree durable_;                 ///< as a loss of power would leave it at worst
    std::vector<Change> unsynced_; ///< what leads from the one to the other
    std::optional<std::int64_t> capacity_ = 500'000'000'000;
    std::optional<std::int64_t> roomLeft_;
};

} // namespace brindle::test
