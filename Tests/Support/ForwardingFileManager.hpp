// A disk that hands everything on to another one, and may look at each call.
#pragma once

#include "BrindleRecorderCore/Base/FileManager.hpp"

namespace brindle::test {

/// The other disk must outlive this one.
class ForwardingFileManager : public FileManager {
  public:
    explicit ForwardingFileManager(FileManager& disk) : disk_{disk} {}

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

  protected:
    /// Before every call; false lets it fail with an input/output error, and not be handed on.
    [[nodiscard]] virtual bool enter() const { return true; }
    /// After every call that was handed on and may have changed that file, failed ones included.
    virtual void changed(const std::filesystem::path& /*path*/) {}

  private:
    FileManager& disk_;
};

} // namespace brindle::test
