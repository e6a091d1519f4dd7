#include "LinuxTests/FakeProc.hpp"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace brindle {

namespace {

/// The kernel keeps the last part of the path that was started, up to 15 characters. For a script
/// that is the script's path.
std::string commandOf(const FakeProcess& process) {
    std::string_view path = process.executable;
    constexpr std::string_view deleted = " (deleted)";
    if (path.ends_with(deleted)) {
        path.remove_suffix(deleted.size());
    }
    return std::string{path.substr(path.rfind('/') + 1).substr(0, 15)};
}

} // namespace

FakeProc::FakeProc() {
    std::string pattern = (std::filesystem::temp_directory_path() / "brindle-proc.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error{"no temporary folder"};
    }
    folder_ = pattern;
}

FakeProc::~FakeProc() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void FakeProc::add(const FakeProcess& process) const {
    const auto folder = folder_ / std::to_string(process.pid);
    std::filesystem::create_directories(folder / "root");
    const std::string command = process.command.empty() ? commandOf(process) : process.command;
    std::ofstream{folder / "stat"} << process.pid << " (" << command << ") S " << process.parent
                                   << " 1 " << process.session << " 0 -1 4194304 0\n";
    std::ofstream commandLine{folder / "cmdline"};
    for (const std::string& argument :
         process.arguments.empty() ? std::vector{process.executable} : process.arguments) {
        commandLine << argument << '\0';
    }
    std::ofstream{folder / "cgroup"} << "1:name=systemd:/old\n0::" << process.controlGroup << '\n';
    if (!process.executable.empty()) {
        std::filesystem::create_symlink(process.executable, folder / "exe");
    }
    if (!process.flatpakID.empty()) {
        std::ofstream{folder / "root" / ".flatpak-info"}
            << "[Application]\nname=" << process.flatpakID
            << "\nruntime=runtime/org.freedesktop.Platform/x86_64/24.08\n\n[Instance]\nname=no\n";
    }
}

} // namespace brindle
