// A recording's file under a second name, under which it becomes what it is converted into.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <filesystem>
#include <optional>
#include <utility>

namespace brindle::capture {

/// As long as this lives, the file is locked as one that is being written.
class SecondName {
  public:
    /// Nothing, and no new name, where the file cannot simply be given another one: the file system
    /// has one name for each file, the file has several already, is not the user's alone, may not
    /// be written, or somebody is writing it.
    static std::optional<SecondName>
    give(const std::filesystem::path& movie, const std::filesystem::path& name);

    /// The file, open for reading and writing.
    [[nodiscard]] int number() const { return file_.number(); }
    /// The file keeps its first name.
    void takeBack() const;

  private:
    SecondName(FileDescriptor file, std::filesystem::path name)
        : file_{std::move(file)}, name_{std::move(name)} {}

    FileDescriptor file_;
    std::filesystem::path name_;
};

} // namespace brindle::capture
