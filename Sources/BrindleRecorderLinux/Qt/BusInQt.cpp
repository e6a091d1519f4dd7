#include "BrindleRecorderLinux/Qt/BusInQt.hpp"

#include <QMetaObject>

namespace brindle {

BusInQt::BusInQt() {
    sd_event* events = nullptr;
    sd_bus* bus = nullptr;
    const char* ownName = nullptr;
    if (sd_event_new(&events) < 0) {
        return;
    }
    events_.reset(events);
    if (sd_bus_open_user(&bus) < 0) {
        return;
    }
    bus_.reset(bus);
    if (sd_bus_attach_event(bus, events, SD_EVENT_PRIORITY_NORMAL) < 0 ||
        sd_bus_get_unique_name(bus, &ownName) < 0) {
        bus_.reset();
    }
}

void BusInQt::serve() {
    notifier_.emplace(sd_event_get_fd(events_.get()), QSocketNotifier::Read);
    QObject::connect(&*notifier_, &QSocketNotifier::activated, &*notifier_, [this] { dispatch(); });
    dispatch();
}

void BusInQt::wake() {
    if (notifier_) {
        QMetaObject::invokeMethod(
            &*notifier_, [this] { dispatch(); }, Qt::QueuedConnection);
    }
}

void BusInQt::dispatch() {
    // Each run does one thing, without waiting for the next.
    while (sd_event_run(events_.get(), 0) > 0) {
    }
}

} // namespace brindle
