#include "BrindleRecorderLinux/Logind/LogindSystemEvents.hpp"

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <systemd/sd-bus.h>

#include <fcntl.h>

#include <cstdint>
#include <optional>
#include <utility>

namespace brindle {

namespace {

constexpr const char* service = "org.freedesktop.login1";
constexpr const char* object = "/org/freedesktop/login1";
constexpr const char* manager = "org.freedesktop.login1.Manager";

bool readFlag(sd_bus_message* message) {
    int flag = 0; // the wire's booleans have the size of an int
    return sd_bus_message_read(message, "b", &flag) > 0 && flag != 0;
}

} // namespace

class LogindSystemEvents::Connection : public std::enable_shared_from_this<Connection> {
  public:
    explicit Connection(EventLoop& loop) : bus_{loop, BusOnLoop::Which::system} {
        if (!bus_.isConnected()) {
            return;
        }
        // A login manager that was started again has forgotten our lock.
        manager_.emplace(bus_, service, [this] {
            if (!manager_->owner().empty()) {
                takeLock();
            }
        });
        follow("PrepareForSleep", [this](bool begins) { prepareForSleep(begins); });
        follow("PrepareForShutdown", [this](bool begins) {
            if (begins) {
                prepareForShutdown();
            }
        });
        takeLock();
    }

    [[nodiscard]] bool isConnected() const { return bus_.isConnected(); }
    void setListener(std::weak_ptr<Listener> listener) { listener_ = std::move(listener); }

  private:
    template <class Announced>
    void follow(const char* signal, Announced announced) {
        // Where the bus is gone nothing is announced.
        static_cast<void>(manager_->follow(
            object, manager, signal, [announced = std::move(announced)](sd_bus_message* message) {
                announced(readFlag(message));
            }));
    }

    void takeLock() {
        sd_bus_slot* slot = nullptr;
        const int called = sd_bus_call_method_async(
            bus_.get(), &slot, service, object, manager, "Inhibit",
            [](sd_bus_message* answer, void* self, sd_bus_error*) {
                static_cast<Connection*>(self)->lockTaken(answer);
                return 0;
            },
            this, "ssss", "sleep:shutdown", "Brindle Recorder",
            say("A running recording is finished first.").c_str(), "delay");
        if (called >= 0) {
            lockSlot_.reset(slot);
        }
    }

    void lockTaken(sd_bus_message* answer) {
        int borrowed = -1;
        if (sd_bus_message_is_method_error(answer, nullptr) == 0 &&
            sd_bus_message_read(answer, "h", &borrowed) > 0) {
            lock_.emplace(fcntl(borrowed, F_DUPFD_CLOEXEC, 0));
        }
    }

    void prepareForSleep(bool begins) {
        const auto listener = listener_.lock();
        if (begins) {
            const auto ready = [weakly = weak_from_this(), sleep = ++sleep_] {
                // A late word must not give away the lock for the next sleep.
                if (const auto self = weakly.lock(); self && self->sleep_ == sleep) {
                    self->lock_.reset();
                }
            };
            if (listener) {
                listener->willSleep(ready);
            } else {
                ready();
            }
            return;
        }
        ++sleep_;
        if (!lock_) {
            takeLock();
        }
        if (listener) {
            listener->didWake();
        }
    }

    void prepareForShutdown() {
        if (const auto listener = listener_.lock()) {
            listener->sessionWillEnd();
        } else {
            lock_.reset();
        }
    }

    BusOnLoop bus_;
    std::optional<BusService> manager_; ///< while connected
    BusSlot lockSlot_;
    std::optional<FileDescriptor> lock_; ///< held while open
    std::uint64_t sleep_ = 0;
    std::weak_ptr<Listener> listener_;
};

LogindSystemEvents::LogindSystemEvents(EventLoop& loop)
    : connection_{std::make_shared<Connection>(loop)} {}

LogindSystemEvents::~LogindSystemEvents() = default;

std::unique_ptr<Observation> LogindSystemEvents::observe(Listener listener) {
    struct Registration final : Observation {
        explicit Registration(std::shared_ptr<Listener> kept) : listener{std::move(kept)} {}
        std::shared_ptr<Listener> listener;
    };
    if (!connection_->isConnected()) {
        return nullptr;
    }
    auto shared = std::make_shared<Listener>(std::move(listener));
    connection_->setListener(shared);
    return std::make_unique<Registration>(std::move(shared));
}

} // namespace brindle
