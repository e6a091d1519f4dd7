#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <sys/epoll.h>

#include <cerrno>

namespace brindle {

EventSource addReader(sd_event* events, int descriptor, sd_event_io_handler_t handler, void* data) {
    sd_event_source* source = nullptr;
    const int added = sd_event_add_io(events, &source, descriptor, EPOLLIN, handler, data);
    if (added < 0) {
        errno = -added;
        return nullptr;
    }
    return EventSource{source};
}

} // namespace brindle
