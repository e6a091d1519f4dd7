// Tells whenever somebody opens or closes one of some files.
#pragma once

#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <functional>
#include <map>
#include <set>
#include <string>

namespace brindle {

class EventLoop;

/// Belongs to the thread of the loop.
class FileUseWatch {
  public:
    /// `used` is called by the loop. The loop must outlive the watch.
    FileUseWatch(EventLoop& loop, std::function<void()> used)
        : loop_{loop}, used_{std::move(used)} {}
    FileUseWatch(const FileUseWatch&) = delete;
    FileUseWatch& operator=(const FileUseWatch&) = delete;

    /// These files, absolute paths, in place of those before. What is not there is not watched.
    void watch(const std::set<std::string>& paths);
    /// Calls `work`, whose own use of the file is not told.
    void withoutTelling(const std::string& path, const std::function<void()>& work);

  private:
    void add(const std::string& path);

    EventLoop& loop_;
    const std::function<void()> used_;
    std::map<std::string, EventSource> watched_;
};

} // namespace brindle
