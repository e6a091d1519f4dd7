#include "BrindleRecorderLinux/Loop/PostedWork.hpp"

#include <sys/eventfd.h>

#include <cstddef>
#include <system_error>
#include <utility>

namespace brindle {

PostedWork::PostedWork(sd_event* events)
    : event_{eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)},
      source_{addReader(
          events, event_.number(),
          [](sd_event_source*, int, std::uint32_t, void* self) {
              static_cast<PostedWork*>(self)->runPending();
              return 0;
          },
          this)} {
    if (source_ == nullptr) {
        throw std::system_error{lastSystemError(), "event loop: posted work"};
    }
}

void PostedWork::add(MainLoop::Work work) {
    // Woken under the lock, so that the loop cannot go between the two.
    const std::lock_guard lock{mutex_};
    pending_.push_back(std::move(work));
    if (pending_.size() == 1) {
        eventfd_write(event_.number(), 1);
    }
}

void PostedWork::runPending() {
    std::unique_lock lock{mutex_};
    for (std::size_t remaining = pending_.size(); remaining > 0; --remaining) {
        {
            const MainLoop::Work work = std::move(pending_.front());
            pending_.pop_front();
            lock.unlock();
            work();
        }
        lock.lock();
    }
    if (pending_.empty()) {
        eventfd_t ignored = 0;
        eventfd_read(event_.number(), &ignored);
    }
}

} // namespace brindle
