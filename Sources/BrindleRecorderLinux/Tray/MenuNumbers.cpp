#include "BrindleRecorderLinux/Tray/MenuNumbers.hpp"

#include <utility>

namespace brindle {

MenuNumbers::Changes MenuNumbers::show(const Menu& menu) {
    std::map<int, Line> lines;
    lines[root].children = add(menu, lines);

    Changes changes;
    for (const auto& [number, line] : lines) {
        const auto before = lines_.find(number);
        if (before == lines_.end()) {
            continue;
        }
        if (before->second.item != line.item) {
            changes.lines.push_back(number);
        }
        if (before->second.children != line.children) {
            changes.parents.push_back(number);
        }
    }
    lines_ = std::move(lines);
    numbers_.clear();
    for (const auto& [number, line] : lines_) {
        if (number != root) {
            numbers_.emplace(line.name, number);
        }
    }
    return changes;
}

std::vector<int> MenuNumbers::add(const Menu& menu, std::map<int, Line>& lines) {
    std::vector<int> added;
    for (const MenuItem& item : menu) {
        const int number = numberOf(item).value_or(nextNumber_);
        if (number == nextNumber_) {
            ++nextNumber_;
        }
        added.push_back(number);
        Line line{.name = item.id, .item = item, .children = {}};
        if (const auto* submenu = item.asSubmenu()) {
            line.item.value = MenuItem::Submenu{submenu->title, {}};
            line.children = add(submenu->items, lines);
        }
        lines.insert_or_assign(number, std::move(line));
    }
    return added;
}

std::optional<int> MenuNumbers::numberOf(const MenuItem& item) const {
    const auto found = numbers_.find(item.id);
    if (found == numbers_.end() ||
        lines_.at(found->second).item.value.index() != item.value.index()) {
        return std::nullopt;
    }
    return found->second;
}

const MenuNumbers::Line* MenuNumbers::line(int number) const {
    const auto found = lines_.find(number);
    return found != lines_.end() ? &found->second : nullptr;
}

} // namespace brindle
