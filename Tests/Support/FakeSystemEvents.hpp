// A desktop that announces sleep, waking and the end of the session when a test says so.
#pragma once

#include "BrindleRecorderApp/Platform/SystemEvents.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace brindle::test {

class FakeSystemEvents final : public SystemEvents {
  public:
    /// Counts how often the program said that it is ready to sleep.
    int ready = 0;

    [[nodiscard]] bool isObserved() const { return !listener_.expired(); }
    void announceSleep() {
        if (const auto listener = listener_.lock()) {
            listener->willSleep([this] { ++ready; });
        }
    }
    void announceWaking() {
        if (const auto listener = listener_.lock()) {
            listener->didWake();
        }
    }
    void announceEndOfSession() {
        if (const auto listener = listener_.lock()) {
            listener->sessionWillEnd();
        }
    }

    [[nodiscard]] std::unique_ptr<Observation> observe(Listener listener) override {
        auto shared = std::make_shared<Listener>(std::move(listener));
        listener_ = shared;
        return std::make_unique<Registration>(std::move(shared));
    }

  private:
    struct Registration final : Observation {
        explicit Registration(std::shared_ptr<Listener> made) : listener{std::move(made)} {}
        std::shared_ptr<Listener> listener;
    };

    std::weak_ptr<Listener> listener_;
};

} // namespace brindle::test
