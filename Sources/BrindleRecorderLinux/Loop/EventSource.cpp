#include "BrindleRecorderLinux/Loop/EventSource.hpp"

#include <sys/epoll.h>

namespace brindle {

EventSource addReader(sd_event* events, int descriptor, sd_event_io_handler_t handler, void* data) {
    sd_event_source* source = nullptr;
    const int added = sd_event_add_io(events, &source, descriptor, EPOLLIN, handler, data);
    return EventSource{added >= 0 ? source : nullptr};
}

} // namespace brindle
