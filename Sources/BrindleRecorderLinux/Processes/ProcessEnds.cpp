#include "BrindleRecorderLinux/Processes/ProcessEnds.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

namespace brindle {

struct ProcessEnds::Watched {
    ProcessEnds& owner;
    std::int32_t pid;
    FileDescriptor descriptor; ///< readable once the process has ended
    EventSource source{};
};

ProcessEnds::ProcessEnds(EventLoop& loop, std::function<void(std::int32_t pid)> ended)
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
    // Not as a child: sd-event would collect its status, which is its parent's to do.
    watched->source = addReader(
        loop_.events(), watched->descriptor.number(),
        [](sd_event_source*, int, std::uint32_t, void* data) {
            auto& self = *static_cast<Watched*>(data);
            ProcessEnds& owner = self.owner;
            // Kept until the end of this call, which is its own.
            const auto over = owner.watched_.extract(self.pid);
            owner.ended_(self.pid);
            return 0;
        },
        watched.get());
    if (watched->source == nullptr) {
        return false;
    }
    watched_.emplace(pid, std::move(watched));
    return true;
}

} // namespace brindle
