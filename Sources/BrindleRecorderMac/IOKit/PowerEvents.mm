#include "BrindleRecorderMac/IOKit/PowerEvents.hpp"

#import <Foundation/Foundation.h>
#import <IOKit/IOMessage.h>
#import <IOKit/pwr_mgt/IOPMLib.h>

#include <dispatch/dispatch.h>
#include <utility>

namespace brindle {

namespace {

/// The connection over which sleep is allowed: whoever is still to allow it may live longer.
class PowerConnection {
  public:
    explicit PowerConnection(io_connect_t port) : port_{port} {}
    ~PowerConnection() { IOServiceClose(port_); }
    PowerConnection(const PowerConnection&) = delete;
    PowerConnection& operator=(const PowerConnection&) = delete;

    void allow(intptr_t change) const { IOAllowPowerChange(port_, change); }

  private:
    io_connect_t port_;
};

class PowerObservation final : public Observation {
  public:
    explicit PowerObservation(SystemEvents::Listener listener)
        : listener_{std::make_shared<SystemEvents::Listener>(std::move(listener))} {
        const io_connect_t port =
            IORegisterForSystemPower(this, &notifications_, heard, &notifier_);
        if (port == MACH_PORT_NULL) {
            return;
        }
        connection_ = std::make_shared<PowerConnection>(port);
        IONotificationPortSetDispatchQueue(notifications_, dispatch_get_main_queue());
    }
    ~PowerObservation() override {
        if (connection_) {
            IODeregisterForSystemPower(&notifier_);
            IONotificationPortDestroy(notifications_);
        }
    }
    PowerObservation(const PowerObservation&) = delete;
    PowerObservation& operator=(const PowerObservation&) = delete;

    [[nodiscard]] bool isRegistered() const { return connection_ != nullptr; }

  private:
    static void heard(void* context, io_service_t /*service*/, natural_t message, void* argument) {
        @autoreleasepool {
            static_cast<PowerObservation*>(context)->hear(
                message, reinterpret_cast<intptr_t>(argument));
        }
    }

    // A listener may end this observation.
    void hear(natural_t message, intptr_t change) {
        const auto listener = listener_;
        switch (message) {
        case kIOMessageCanSystemSleep:
            connection_->allow(change);
            break;
        case kIOMessageSystemWillSleep:
            isAboutToSleep_ = true;
            listener->willSleep(readyOnce(change));
            break;
        case kIOMessageSystemWillNotSleep:
        case kIOMessageSystemHasPoweredOn:
            if (std::exchange(isAboutToSleep_, false)) {
                listener->didWake();
            }
            break;
        default:
            break;
        }
    }

    [[nodiscard]] std::function<void()> readyOnce(intptr_t change) const {
        const auto waiting = std::make_shared<std::shared_ptr<PowerConnection>>(connection_);
        return [waiting, change] {
            if (const auto connection = std::exchange(*waiting, nullptr)) {
                connection->allow(change);
            }
        };
    }

    std::shared_ptr<SystemEvents::Listener> listener_;
    IONotificationPortRef notifications_ = nullptr;
    io_object_t notifier_ = IO_OBJECT_NULL;
    std::shared_ptr<PowerConnection> connection_;
    bool isAboutToSleep_ = false;
};

} // namespace

std::unique_ptr<Observation> PowerEvents::observe(Listener listener) {
    auto observation = std::make_unique<PowerObservation>(std::move(listener));
    if (!observation->isRegistered()) {
        return nullptr;
    }
    return observation;
}

} // namespace brindle
