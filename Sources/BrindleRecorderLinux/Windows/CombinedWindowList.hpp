// Several window lists as one.
#pragma once

#include "BrindleRecorderApp/Platform/WindowList.hpp"

#include <functional>
#include <vector>

namespace brindle {

/// Titles may be read as soon as one of the lists may read them. The windows are those of every
/// list that may and can, in the lists' order; a window that two lists show is there twice.
class CombinedWindowList final : public WindowList {
  public:
    /// The lists must outlive this one.
    explicit CombinedWindowList(std::vector<std::reference_wrapper<const WindowList>> lists);

    [[nodiscard]] bool titlesPermitted() const override;
    [[nodiscard]] std::optional<std::vector<WindowRecord>> windows() const override;

  private:
    std::vector<std::reference_wrapper<const WindowList>> lists_;
};

} // namespace brindle
