// The disk as one run of the program sees it: it can fail, fill up and slow down, and the program
// may die after any one operation.
#pragma once

#include "BrindleRecorderCore/FileManager.hpp"
#include "Simulation/Scene.hpp"

#include <optional>

namespace brindle::simulation {

class SimulatedDisk final : public FileManager {
  public:
    explicit SimulatedDisk(Scene& scene) : scene_{scene} {}

    /// From now on so many calls of a hundred fail, and so many take their time.
    void setSickness(unsigned failingPercent, unsigned slowPercent);
    [[nodiscard]] bool isSick() const { return failingPercent_ > 0; }
    /// The program dies right after so many more operations that change the disk.
    void dieAfter(std::optional<int> changes) { changesLeft_ = changes; }
    /// Nothing reaches the disk any more.
    void die() { dead_ = true; }
    [[nodiscard]] bool isDead() const { return dead_; }

    // What a media library does beside: as if by a descriptor of its own.
    /// Adds to a file that exists; false when the disk does not take it.
    bool appendMedia(const std::filesystem::path& path, const std::string& text);
    bool syncMedia(const std::filesystem::path& path);

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
    /// Before every operation; false when the program is dead and the operation must not be done.
    bool enter() const;
    /// After every operation that changes the disk.
    void changed(const std::filesystem::path& path);

    Scene& scene_;
    unsigned failingPercent_ = 0;
    unsigned slowPercent_ = 0;
    std::optional<int> changesLeft_;
    bool dead_ = false;
};

} // namespace brindle::simulation
