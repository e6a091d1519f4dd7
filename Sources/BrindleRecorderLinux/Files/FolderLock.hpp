// One process at a time works in a folder.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <filesystem>

namespace brindle {

/// Holds the folder until it goes; a process that dies lets go. Nothing is written: the lock is on
/// the folder itself.
class FolderLock {
  public:
    /// The folder must exist.
    explicit FolderLock(const std::filesystem::path& folder);

    /// Whether another process holds the folder. False where the file system cannot tell.
    [[nodiscard]] bool isHeldByAnother() const { return isHeldByAnother_; }

  private:
    FileDescriptor descriptor_;
    bool isHeldByAnother_ = false;
};

} // namespace brindle
