#include "BrindleRecorderLinux/Cameras/CameraUsers.hpp"

#include "BrindleRecorderLinux/Processes/FileUsers.hpp"
#include "BrindleRecorderLinux/Processes/ProcReader.hpp"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace brindle {

CameraUsers::CameraUsers(EventLoop& loop, std::function<void()> changed, System system)
    : system_{std::move(system)}, watch_{loop, std::move(changed)} {}

std::optional<CameraHolder> CameraUsers::holderOf(const std::string& devicePath) {
    bool isStreaming = false;
    watch_.withoutTelling(devicePath, [&] { isStreaming = system_.isStreaming(devicePath); });
    if (!isStreaming) {
        return std::nullopt;
    }
    auto users = FileUsers::of(devicePath, system_.procFolder);
    const std::size_t all = users.size();
    std::erase_if(users, [this](const FileUser& user) { return isOurs(user.pid); });
    if (users.empty()) {
        return all > 0 ? std::nullopt : std::optional{CameraHolder{}};
    }
    // Browsers have many processes with a camera open; the one that takes pictures has mapped them.
    const auto streaming = std::ranges::find_if(users, &FileUser::isMapped);
    return CameraHolder{.pid = (streaming != users.end() ? *streaming : users.front()).pid};
}

std::set<std::int32_t> CameraUsers::openersOf(const std::string& devicePath) const {
    std::set<std::int32_t> openers;
    for (const FileUser& user : FileUsers::of(devicePath, system_.procFolder)) {
        if (!isOurs(user.pid)) {
            openers.insert(user.pid);
        }
    }
    return openers;
}

bool CameraUsers::isOurs(std::int32_t pid) const {
    if (pid == getpid()) {
        return true;
    }
    const auto file = ProcReader{system_.procFolder}.executable(pid);
    return file && (file->filename() == "pipewire" || file->filename() == "wireplumber");
}

} // namespace brindle
