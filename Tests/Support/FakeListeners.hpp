// The listeners that a fake of the seam has to call, each registered for as long as its observation
// lives.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <utility>

namespace brindle::test {

template <class... Arguments>
class FakeListeners {
  public:
    using Listener = std::function<void(Arguments...)>;

    [[nodiscard]] std::unique_ptr<Observation> add(Listener listener) {
        auto entry = std::make_shared<Listener>(std::move(listener));
        entries_->push_back(entry);
        return std::make_unique<Registration>(entries_, std::move(entry));
    }

    /// Calls every listener that is still registered when its turn comes.
    void call(Arguments... arguments) const {
        const auto registered = *entries_;
        for (const auto& entry : registered) {
            if (std::ranges::find(*entries_, entry) != entries_->end()) {
                (*entry)(arguments...);
            }
        }
    }

    [[nodiscard]] std::size_t count() const { return entries_->size(); }

  private:
    using Entries = std::list<std::shared_ptr<Listener>>;

    class Registration final : public Observation {
      public:
        Registration(std::weak_ptr<Entries> entries, std::shared_ptr<Listener> entry)
            : entries_{std::move(entries)}, entry_{std::move(entry)} {}
        ~Registration() override {
            if (const auto entries = entries_.lock()) {
                entries->remove(entry_);
            }
        }
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

      private:
        std::weak_ptr<Entries> entries_;
        std::shared_ptr<Listener> entry_;
    };

    std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

} // namespace brindle::test
