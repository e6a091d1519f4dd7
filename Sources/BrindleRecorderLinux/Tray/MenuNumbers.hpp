// The application's menu as a bus shows it: lines by number, and what changed from one menu to the
// next, so that an open menu can be changed in place.
#pragma once

#include "BrindleRecorderApp/Platform/Menu.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only.
class MenuNumbers {
  public:
    /// Stands for the menu as a whole.
    static constexpr int root = 0;

    struct Line {
        std::string name;          ///< of the menu's line; empty for the root
        MenuItem item;             ///< a submenu's without its lines
        std::vector<int> children; ///< of the root and of submenus
    };

    struct Changes {
        std::vector<int> lines;   ///< that are where they were and say something else
        std::vector<int> parents; ///< whose lines are others, or in another order
    };

    /// A line keeps its number for as long as it stays in the menu and is of the same sort; no
    /// number is given twice.
    Changes show(const Menu& menu);

    /// Null for a number that stands for nothing now.
    [[nodiscard]] const Line* line(int number) const;
    [[nodiscard]] const std::map<int, Line>& lines() const { return lines_; }

  private:
    std::vector<int> add(const Menu& menu, std::map<int, Line>& lines);
    [[nodiscard]] std::optional<int> numberOf(const MenuItem& item) const;

    std::map<int, Line> lines_{{root, Line{}}};
    std::map<std::string, int> numbers_; ///< by name
    int nextNumber_ = root + 1;
};

} // namespace brindle
