// Holds back what devices have delivered until the server has confirmed where it came from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <utility>

namespace brindle::pipewire {

/// The server announces a connection before anything passes through it. Whatever arrived before a
/// question was asked has therefore come through connections that are known, and judged, when the
/// answer is here.
///
/// At most one question is open at a time. One thread at a time; `ask` and `handOn` must not call
/// back.
template <class Item>
class ArrivalQueue {
  public:
    /// `ask` puts a question to the server and returns its number; `handOn` takes what has been
    /// confirmed, in the order of arrival.
    ArrivalQueue(std::function<int()> ask, std::function<void(Item)> handOn)
        : ask_{std::move(ask)}, handOn_{std::move(handOn)} {}

    void arrived(Item item) {
        waiting_.push_back(std::move(item));
        ++arrivals_;
        askAboutWaiting();
    }

    /// The server has answered a question, ours or anybody else's.
    void answered(int question) {
        if (openQuestion_ != question) {
            return;
        }
        openQuestion_.reset();
        for (; confirmable_ > 0; --confirmable_) {
            handOn_(std::move(waiting_.front()));
            waiting_.pop_front();
            ++handedOn_;
        }
        askAboutWaiting();
    }

    /// Forgets what has not been confirmed, and the open question.
    void clear() {
        waiting_.clear();
        confirmable_ = 0;
        openQuestion_.reset();
    }

    /// Counts since the beginning.
    [[nodiscard]] std::uint64_t arrivals() const { return arrivals_; }
    [[nodiscard]] std::uint64_t handedOn() const { return handedOn_; }

  private:
    void askAboutWaiting() {
        if (!openQuestion_ && !waiting_.empty()) {
            confirmable_ = waiting_.size();
            openQuestion_ = ask_();
        }
    }

    std::function<int()> ask_;
    std::function<void(Item)> handOn_;
    std::deque<Item> waiting_;
    std::size_t confirmable_ = 0; ///< how many of them arrived before the open question
    std::optional<int> openQuestion_;
    std::uint64_t arrivals_ = 0;
    std::uint64_t handedOn_ = 0;
};

} // namespace brindle::pipewire
