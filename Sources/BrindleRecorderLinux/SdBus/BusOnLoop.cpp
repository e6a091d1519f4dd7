#include "BrindleRecorderLinux/SdBus/BusOnLoop.hpp"

#include <cstdint>

namespace brindle {

BusOnLoop::EventHandle BusOnLoop::makeEvents() {
    sd_event* events = nullptr;
    return EventHandle{sd_event_new(&events) >= 0 ? events : nullptr};
}

BusHandle BusOnLoop::connect(sd_event* events, Which which) {
    sd_bus* bus = nullptr;
    if (events == nullptr ||
        (which == Which::session ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus)) < 0) {
        return nullptr;
    }
    BusHandle connected{bus};
    if (sd_bus_attach_event(bus, events, SD_EVENT_PRIORITY_NORMAL) < 0) {
        return nullptr;
    }
    return connected;
}

BusOnLoop::BusOnLoop(pw_loop* loop, Which which)
    : loop_{loop}, events_{makeEvents()}, bus_{connect(events_.get(), which)} {
    if (bus_) {
        source_ = pipewire::SourceHandle{
            pipewire::addReader(
                loop, sd_event_get_fd(events_.get()),
                [](void* self, int, std::uint32_t) { static_cast<BusOnLoop*>(self)->dispatch(); },
                this),
            {loop}};
        wakeUp_ = pipewire::SourceHandle{
            pipewire::addEvent(
                loop, [](void* self, std::uint64_t) { static_cast<BusOnLoop*>(self)->dispatch(); },
                this),
            {loop}};
        wake(); // the greeting is the first thing to be sent
    }
}

void BusOnLoop::dispatch() {
    // Each run does one thing, without waiting for the next.
    while (sd_event_run(events_.get(), 0) > 0) {
    }
}

void BusOnLoop::wake() {
    if (wakeUp_) {
        pipewire::signalEvent(loop_, wakeUp_.get());
    }
}

} // namespace brindle
