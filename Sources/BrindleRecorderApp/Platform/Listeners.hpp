// Those who want to hear of one thing.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <utility>

namespace brindle {

/// Each is registered for as long as its observation lives, which may be longer than this. A copy
/// is the same list, and may be made on any thread; all else belongs to one.
template <class... Arguments>
class Listeners {
  public:
    using Listener = std::function<void(Arguments...)>;

    [[nodiscard]] std::unique_ptr<Observation> add(Listener listener) const {
        auto entry = std::make_shared<Entry>(Entry{std::move(listener)});
        entries_->push_back(entry);
        return std::make_unique<Registration>(entries_, std::move(entry));
    }

    /// Calls them in the order of their adding. They may come and go meanwhile, and so may this:
    /// one that goes is not called any more, one that comes is not called yet.
    void call(Arguments... arguments) const {
        const Entries registered = *entries_;
        for (const auto& entry : registered) {
            if (entry->isRegistered) {
                entry->call(arguments...);
            }
        }
    }

    [[nodiscard]] std::size_t count() const { return entries_->size(); }

  private:
    struct Entry {
        Listener call;
        bool isRegistered = true;
    };
    using Entries = std::list<std::shared_ptr<Entry>>;

    class Registration final : public Observation {
      public:
        Registration(std::weak_ptr<Entries> entries, std::shared_ptr<Entry> entry)
            : entries_{std::move(entries)}, entry_{std::move(entry)} {}
        ~Registration() override {
            entry_->isRegistered = false;
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

    std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

} // namespace brindle
