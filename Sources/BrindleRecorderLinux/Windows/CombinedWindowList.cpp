#include "BrindleRecorderLinux/Windows/CombinedWindowList.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brindle {

CombinedWindowList::CombinedWindowList(std::vector<std::reference_wrapper<const WindowList>> lists)
    : lists_{std::move(lists)} {}

bool CombinedWindowList::titlesPermitted() const {
    return std::any_of(lists_.begin(), lists_.end(), [](const WindowList& list) {
        return list.titlesPermitted();
    });
}

std::optional<std::vector<WindowRecord>> CombinedWindowList::windows() const {
    std::optional<std::vector<WindowRecord>> all;
    for (const WindowList& list : lists_) {
        if (!list.titlesPermitted()) {
            continue;
        }
        if (auto some = list.windows()) {
            if (!all) {
                all.emplace();
            }
            std::move(some->begin(), some->end(), std::back_inserter(*all));
        }
    }
    return all;
}

} // namespace brindle
