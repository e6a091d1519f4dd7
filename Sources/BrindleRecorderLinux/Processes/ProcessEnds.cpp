#include "BrindleRecorderLinux/Processes/ProcessEnds.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"

#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

namespace brindle {

struct ProcessEnds::Watched {
    ProcessEnds& owner;
    std::int32_t pid;
    FileDescriptor descriptor; ///< readable once the process has ended
    pipewire::SourceHandle source{};
};

ProcessEnds::ProcessEnds(pw_loop* loop, std::function<void(std::int32_t pid)> ended)
    : loop_{loop}, ended_{std::move(ended)} {}

ProcessEnds::~ProcessEnds() = default;

bool ProcessEnds::watch(std::int32_t pid) {
    if (watched_.contains(pid)) {
        return true;
    }
    if (pid <= 0 || watched_.size() >= mostProcesses) {
        return false;
    }
    // The library's own call for this cannot be linked from C++ where its version is 2.36.
    const int number = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (number < 0) {
        return false;
    }
    auto watched = std::make_unique<Watched>(Watched{*this, pid, FileDescriptor{number}});
    watched->source = pipewire::SourceHandle{
        pipewire::addReader(
            loop_, watched->descriptor.number(),
            [](void* data, int, std::uint32_t) {
                auto& self = *static_cast<Watched*>(data);
                ProcessEnds& owner = self.owner;
                // Kept until the end of this call, which is its own.
                const auto over = owner.watched_.extract(self.pid);
                owner.ended_(self.pid);
            },
            watched.get()),
        {loop_}};
    if (watched->source == nullptr) {
        return false;
    }
    watched_.emplace(pid, std::move(watched));
    return true;
}

} // namespace brindle
