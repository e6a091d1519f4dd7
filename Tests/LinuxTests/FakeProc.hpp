// A /proc folder with made-up processes, in the form that the kernel gives it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace brindle {

struct FakeProcess {
    std::int32_t pid = 0;
    std::string executable;               ///< where /proc/PID/exe points; empty for unreadable
    std::vector<std::string> arguments{}; ///< the executable alone when empty
    std::string command{};                ///< as the kernel would set it when empty
    std::int32_t parent = 1;
    std::int32_t session = 1;
    std::string controlGroup{}; ///< path in the unified hierarchy
    std::string flatpakID{};    ///< of the sandbox around it
};

/// Lives in a temporary folder that goes with it.
class FakeProc {
  public:
    FakeProc();
    ~FakeProc();
    FakeProc(const FakeProc&) = delete;
    FakeProc& operator=(const FakeProc&) = delete;

    void add(const FakeProcess& process) const;
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

  private:
    std::filesystem::path folder_;
};

} // namespace brindle
