// The window server's list of windows.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"

namespace brindle {

class QuartzWindowList final : public WindowList {
  public:
    [[nodiscard]] bool titlesPermitted() const override;
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override;
};

} // namespace brindle
