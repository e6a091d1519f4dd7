// A field that tells its observers when its value changes.
#pragma once

#include "BrindleRecorderApp/Platform/Listeners.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace brindle {

/// Main thread only. Setting an equal value tells nobody. Observers are called after the change, in
/// the order of registration, and may register or unregister observers while being called. Whoever
/// may read but not set is given a `const Published&`.
template <class Value>
class Published {
  public:
    using Observer = std::function<void(const Value&)>;

    explicit Published(Value initial = {}) : value_{std::move(initial)} {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    [[nodiscard]] const Value& get() const { return value_; }

    void set(Value value) {
        if (value != value_) {
            value_ = std::move(value);
            observers_.call(value_);
        }
    }

    [[nodiscard]] std::unique_ptr<Observation> observe(Observer observer) const {
        return observers_.add(std::move(observer));
    }

  private:
    Value value_;
    Listeners<const Value&> observers_;
};

} // namespace brindle
