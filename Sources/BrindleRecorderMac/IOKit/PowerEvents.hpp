// The machine's sleep. The end of the user's session comes to the application's delegate as a
// request to end, and so is not announced here.
#pragma once

#include "BrindleRecorderApp/Platform/SystemEvents.hpp"

namespace brindle {

class PowerEvents final : public SystemEvents {
  public:
    [[nodiscard]] std::unique_ptr<Observation> observe(Listener listener) override;
};

} // namespace brindle
