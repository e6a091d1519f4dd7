#include "BrindleRecorderLinux/PipeWire/ListenerList.hpp"

#include <utility>

namespace brindle::pipewire {

class ListenerList::Membership final : public Observation {
  public:
    Membership(std::weak_ptr<Entries> entries, std::uint64_t order)
        : entries_{std::move(entries)}, order_{order} {}
    ~Membership() override {
        if (const auto entries = entries_.lock()) {
            // The listener goes last: its captures may own further observations.
            const auto removed = entries->extract(order_);
        }
    }
    Membership(const Membership&) = delete;
    Membership& operator=(const Membership&) = delete;

  private:
    std::weak_ptr<Entries> entries_;
    std::uint64_t order_;
};

std::unique_ptr<Observation> ListenerList::add(std::uint64_t subject, Listener listener) {
    const std::uint64_t order = nextOrder_++;
    entries_->emplace(order, Entry{subject, std::move(listener)});
    return std::make_unique<Membership>(entries_, order);
}

void ListenerList::call(std::uint64_t subject) const {
    // The list itself may go meanwhile, too.
    const auto entries = entries_;
    const std::uint64_t end = nextOrder_;
    for (auto next = entries->begin(); next != entries->end() && next->first < end;) {
        const std::uint64_t order = next->first;
        if (next->second.subject == subject) {
            // A copy, since the listener may remove itself.
            const Listener listener = next->second.listener;
            listener();
        }
        next = entries->upper_bound(order);
    }
}

} // namespace brindle::pipewire
