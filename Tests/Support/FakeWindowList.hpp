// The desktop's windows as a test describes them.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"

#include <optional>
#include <vector>

namespace brindle::test {

class FakeWindowList final : public WindowList {
  public:
    bool permitted = true;
    /// Absent: the list cannot be read.
    std::optional<std::vector<WindowRecord>> records = std::vector<WindowRecord>{};
    std::vector<WindowRecord> toldOtherwise = {};
    mutable int readings = 0; ///< how often the windows have been asked for

    [[nodiscard]] bool titlesPermitted() const override { return permitted; }
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override {
        ++readings;
        return records;
    }
    [[nodiscard]] std::vector<WindowRecord> titlesToldOtherwise() const override {
        return toldOtherwise;
    }
};

} // namespace brindle::test
