// A folder of a test's own on the real disk, gone with all that is in it when the test ends.
#pragma once

#include <filesystem>

namespace brindle::test {

class TemporaryFolder {
  public:
    /// Ends the test program when none can be created.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Absolute, without symbolic links.
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

} // namespace brindle::test
