// The window list of a desktop that does not show other programs' windows.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"

namespace brindle {

class UnavailableWindowList final : public WindowList {
  public:
    [[nodiscard]] bool titlesPermitted() const override { return false; }
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override {
        return std::nullopt;
    }
};

} // namespace brindle
