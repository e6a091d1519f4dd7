// Listeners that may come and go while they are being called.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace brindle::pipewire {

/// One thread only. Observations may outlive the list.
class ListenerList {
  public:
    using Listener = std::function<void()>;

    /// `subject` is what the listener wants to hear of; 0 where there is only one thing.
    [[nodiscard]] std::unique_ptr<Observation> add(std::uint64_t subject, Listener listener);

    /// Calls the subject's listeners in the order of their adding. One that is removed meanwhile is
    /// not called any more, one that is added meanwhile not yet.
    void call(std::uint64_t subject) const;

  private:
    struct Entry {
        std::uint64_t subject = 0;
        Listener listener;
    };
    using Entries = std::map<std::uint64_t, Entry>;
    class Membership;

    std::uint64_t nextOrder_ = 0;
    std::shared_ptr<Entries> entries_ = std::make_shared<Entries>();
};

} // namespace brindle::pipewire
