#include "BrindleRecorderLinux/Cameras/FileUseWatch.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <sys/inotify.h>

namespace brindle {

void FileUseWatch::watch(const std::set<std::string>& paths) {
    // Anew each time: a device that was plugged in again is another file of the same name.
    watched_.clear();
    for (const std::string& path : paths) {
        add(path);
    }
}

void FileUseWatch::withoutTelling(const std::string& path, const std::function<void()>& work) {
    const bool wasWatched = watched_.erase(path) > 0;
    work();
    if (wasWatched) {
        add(path);
    }
}

void FileUseWatch::add(const std::string& path) {
    sd_event_source* source = nullptr;
    const int added = sd_event_add_inotify(
        loop_.events(), &source, path.c_str(), IN_OPEN | IN_CLOSE,
        [](sd_event_source*, const inotify_event* event, void* data) {
            if ((event->mask & (IN_OPEN | IN_CLOSE)) != 0) {
                static_cast<FileUseWatch*>(data)->used_();
            }
            return 0;
        },
        this);
    if (added >= 0) {
        watched_[path].reset(source);
    }
}

} // namespace brindle
