// Work that any thread leaves for the loop.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <deque>
#include <mutex>

namespace brindle {

/// Belongs to the loop's thread; `add` may be called from any. Must go before the loop.
class PostedWork {
  public:
    /// Throws std::system_error when the system has no descriptors left.
    explicit PostedWork(sd_event* events);
    PostedWork(const PostedWork&) = delete;
    PostedWork& operator=(const PostedWork&) = delete;

    /// Runs in the order of adding. What is added by work that runs waits for the loop's next turn,
    /// so that timers and descriptors get theirs.
    void add(MainLoop::Work work);

  private:
    void runPending();

    FileDescriptor event_; ///< readable while anything is pending
    std::mutex mutex_;
    std::deque<MainLoop::Work> pending_;
    EventSource source_;
};

} // namespace brindle
