// A clock that a test sets by hand.
#pragma once

#include "BrindleRecorderCore/Base/DateProvider.hpp"

namespace brindle::test {

class FakeDateProvider final : public DateProvider {
  public:
    explicit FakeDateProvider(Date start = dateFromUnixSeconds(1'773'480'612)) : now_{start} {}

    [[nodiscard]] Date now() const override { return now_; }
    void set(Date date) { now_ = date; }
    void advance(Seconds by) { now_ += std::chrono::duration_cast<std::chrono::nanoseconds>(by); }

  private:
    Date now_;
};

} // namespace brindle::test
