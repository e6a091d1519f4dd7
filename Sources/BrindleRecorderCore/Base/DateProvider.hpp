// The clock that every "now" is read through, so that time-dependent rules can be driven by tests.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

namespace brindle {

class DateProvider {
  public:
    virtual ~DateProvider() = default;
    /// The current wall-clock time.
    [[nodiscard]] virtual Date now() const = 0;
};

/// The machine's clock.
class SystemDateProvider final : public DateProvider {
  public:
    [[nodiscard]] Date now() const override;
};

} // namespace brindle
