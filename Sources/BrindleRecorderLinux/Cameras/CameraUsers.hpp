// Who else has one of this machine's cameras.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderLinux/Cameras/FileUseWatch.hpp"
#include "BrindleRecorderLinux/Cameras/KernelCamera.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace brindle {

class EventLoop;

/// Belongs to the thread of the loop, which must outlive it.
class CameraUsers {
  public:
    /// What is asked of the system; tests put their own in its place.
    struct System {
        std::function<bool(const std::string& devicePath)> isStreaming = KernelCamera::isStreaming;
        std::filesystem::path procFolder = "/proc";
    };

    /// `changed` is called by the loop whenever somebody has opened or closed a watched camera.
    CameraUsers(EventLoop& loop, std::function<void()> changed, System system);
    CameraUsers(EventLoop& loop, std::function<void()> changed)
        : CameraUsers{loop, std::move(changed), System{}} {}

    /// The kernel's names of the cameras, such as "/dev/video0".
    void watch(const std::set<std::string>& devicePaths) { watch_.watch(devicePaths); }

    /// Who has the camera's stream, unless it is the sound server, which shares it, or ourselves.
    /// Blocks briefly.
    [[nodiscard]] std::optional<CameraHolder> holderOf(const std::string& devicePath);
    /// Who has the camera open, without those two. Blocks briefly.
    [[nodiscard]] std::set<std::int32_t> openersOf(const std::string& devicePath) const;

  private:
    [[nodiscard]] bool isOurs(std::int32_t pid) const;

    System system_;
    FileUseWatch watch_;
};

} // namespace brindle
