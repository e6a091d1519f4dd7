#include "BrindleRecorderLinux/Capture/Confinement.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <pipewire/pipewire.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace brindle::capture {

namespace {

/// The kernel's record with all its parts; an older kernel takes it as long as those that it does
/// not know are zero.
struct Ruleset {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scope = 0;
};

// What each version of the interface has brought, where the headers may be older than the kernel.
constexpr std::uint64_t filesOfFirstVersion = (std::uint64_t{1} << 13) - 1;
constexpr std::uint64_t linkElsewhere = std::uint64_t{1} << 13;  ///< since 2
constexpr std::uint64_t truncateFiles = std::uint64_t{1} << 14;  ///< since 3
constexpr std::uint64_t bindAndConnect = 3;                      ///< since 4
constexpr std::uint64_t controlDevices = std::uint64_t{1} << 15; ///< since 5
constexpr std::uint64_t abstractSocketsAndSignals = 3;           ///< since 6

Ruleset everythingThatVersionKnows(long version) {
    Ruleset all{.files = filesOfFirstVersion};
    all.files |= version >= 2 ? linkElsewhere : 0;
    all.files |= version >= 3 ? truncateFiles : 0;
    all.network = version >= 4 ? bindAndConnect : 0;
    all.files |= version >= 5 ? controlDevices : 0;
    all.scope = version >= 6 ? abstractSocketsAndSignals : 0;
    return all;
}

/// 0 or an errno. A path that is not there needs no leave.
int allow(int ruleset, const std::filesystem::path& path, std::uint64_t access) {
    const auto place = FileDescriptor::open(path, O_PATH);
    if (!place) {
        return 0;
    }
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    rule.parent_fd = place->number();
    return syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0
               ? 0
               : errno;
}

std::filesystem::path variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Where libraries load others from, and what they read to know how they are wanted.
std::vector<std::filesystem::path> whereLibrariesRead() {
    std::vector<std::filesystem::path> folders{
        "/usr",       "/lib",       "/lib32",
        "/lib64",     "/etc",       "/app",
        "/nix/store", "/gnu/store", "/sys/devices/system/cpu"};
    // A library outside of these has its plug-ins beside it.
    Dl_info library{};
    void* const function = reinterpret_cast<void*>(&pw_init);
    if (dladdr(function, &library) != 0 && library.dli_fname != nullptr) {
        folders.push_back(std::filesystem::path{library.dli_fname}.parent_path());
    }
    for (const char* name :
         {"SPA_PLUGIN_DIR", "SPA_DATA_DIR", "PIPEWIRE_MODULE_DIR", "PIPEWIRE_CONFIG_DIR"}) {
        folders.push_back(variable(name));
    }
    folders.push_back(variable("XDG_CONFIG_HOME") / "pipewire");
    folders.push_back(variable("HOME") / ".config/pipewire");
    std::erase_if(folders, [](const auto& folder) { return !folder.is_absolute(); });
    return folders;
}

/// Whatever drivers of graphics hardware open.
std::vector<std::filesystem::path> graphicsDevices() {
    std::vector<std::filesystem::path> devices{"/dev/dri", "/dev/nvidia-caps"};
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator{"/dev", ignored}) {
        if (entry.path().filename().string().starts_with("nvidia")) {
            devices.push_back(entry.path());
        }
    }
    return devices;
}

/// `files`: everything that is held back otherwise.
int allowGraphics(int ruleset, std::uint64_t files) {
    constexpr std::uint64_t read = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    for (const char* folder :
         {"/sys/dev/char", "/sys/devices", "/sys/class/drm", "/proc/driver/nvidia",
          "/run/opengl-driver"}) {
        if (const int error = allow(ruleset, folder, read); error != 0) {
            return error;
        }
    }
    for (const auto& device : graphicsDevices()) {
        std::error_code ignored;
        const std::uint64_t folder = std::filesystem::is_directory(device, ignored)
                                         ? std::uint64_t{LANDLOCK_ACCESS_FS_READ_DIR}
                                         : 0;
        const std::uint64_t access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE |
                                     folder | (files & controlDevices);
        if (const int error = allow(ruleset, device, access); error != 0) {
            return error;
        }
    }
    return 0;
}

int allowWhatIsNeeded(int ruleset) {
    constexpr std::uint64_t read = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    for (const auto& folder : whereLibrariesRead()) {
        if (const int error = allow(ruleset, folder, read); error != 0) {
            return error;
        }
    }
    constexpr std::uint64_t readFile = LANDLOCK_ACCESS_FS_READ_FILE;
    constexpr std::uint64_t write = LANDLOCK_ACCESS_FS_WRITE_FILE;
    using Leave = std::pair<const char*, std::uint64_t>;
    for (const auto& [path, access] :
         {Leave{"/dev/urandom", readFile}, Leave{"/dev/null", readFile | write},
          Leave{"/proc/self", read},
          // Where threads get their names.
          Leave{"/proc/self/task", read | write}}) {
        if (const int error = allow(ruleset, path, access); error != 0) {
            return error;
        }
    }
    return 0;
}

} // namespace

Expected<bool, std::error_code> confineThisProcess(Leave leave) {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return unexpected{lastSystemError()};
    }
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) {
        return false;
    }
    const Ruleset all = everythingThatVersionKnows(version);
    const FileDescriptor ruleset{
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &all, sizeof(all), 0))};
    if (ruleset.number() < 0) {
        return unexpected{lastSystemError()};
    }
    int error = allowWhatIsNeeded(ruleset.number());
    if (error == 0 && leave == Leave::graphics) {
        error = allowGraphics(ruleset.number(), all.files);
    }
    if (error != 0) {
        return unexpected{std::error_code{error, std::generic_category()}};
    }
    if (syscall(SYS_landlock_restrict_self, ruleset.number(), 0) != 0) {
        return unexpected{lastSystemError()};
    }
    return true;
}

} // namespace brindle::capture
