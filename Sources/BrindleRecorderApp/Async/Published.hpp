// A field that tells its observers when its value changes.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <functional>
#include <list>
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
        if (value == value_) {
            return;
        }
        value_ = std::move(value);
        const auto observers = *observers_;
        for (const auto& observer : observers) {
            if (observer->active) {
                observer->call(value_);
            }
        }
    }

    [[nodiscard]] std::unique_ptr<Observation> observe(Observer observer) const {
        auto entry = std::make_shared<Entry>(Entry{std::move(observer), true});
        observers_->push_back(entry);
        return std::make_unique<Registration>(observers_, std::move(entry));
    }

  private:
    struct Entry {
        Observer call;
        bool active;
    };
    using Entries = std::list<std::shared_ptr<Entry>>;

    class Registration final : public Observation {
      public:
        Registration(std::weak_ptr<Entries> entries, std::shared_ptr<Entry> entry)
            : entries_{std::move(entries)}, entry_{std::move(entry)} {}
        ~Registration() override {
            entry_->active = false;
            if (const auto entries = entries_.lock()) {
                entries->remove(entry_);
            }
        }
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

      private:
        std::weak_ptr<Entries> entries_;
        std::shared_ptr<Entry> entry_;
    };

    Value value_;
    std::shared_ptr<Entries> observers_ = std::make_shared<Entries>();
};

} // namespace brindle
