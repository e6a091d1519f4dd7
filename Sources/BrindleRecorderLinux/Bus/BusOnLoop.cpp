#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"

#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

namespace brindle {

BusHandle BusOnLoop::connect(sd_event* events, Which which) {
    sd_bus* bus = nullptr;
    if ((which == Which::session ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus)) < 0) {
        return nullptr;
    }
    BusHandle connected{bus};
    if (sd_bus_attach_event(bus, events, SD_EVENT_PRIORITY_NORMAL) < 0) {
        return nullptr;
    }
    return connected;
}

BusOnLoop::BusOnLoop(EventLoop& loop, Which which) : bus_{connect(loop.events(), which)} {}

} // namespace brindle
