// How far the server has answered what was asked of it.
#pragma once

#include <optional>

namespace brindle::pipewire {

/// The server answers in the order of the questions, whose numbers count up, and start again after
/// 2^30 of them. Somebody who waits may be woken only after further answers have come: the newest
/// stands for all before it. A value; one thread at a time.
class ServerAnswers {
  public:
    void answered(int question) { newest_ = question; }

    [[nodiscard]] bool haveReached(int question) const {
        constexpr unsigned mask = (1U << 30U) - 1;
        constexpr unsigned half = 1U << 29U;
        return newest_ &&
               ((static_cast<unsigned>(*newest_) - static_cast<unsigned>(question)) & mask) < half;
    }

  private:
    std::optional<int> newest_;
};

} // namespace brindle::pipewire
