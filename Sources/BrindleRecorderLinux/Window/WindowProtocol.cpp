#include "BrindleRecorderLinux/Window/WindowProtocol.hpp"

#include "BrindleRecorderLinux/Bus/BusText.hpp"

#include <algorithm>
#include <string>
#include <variant>

namespace brindle {

namespace {

using Content = SetupWindowContent;

constexpr std::string_view heading = "heading";
constexpr std::string_view paragraph = "paragraph";
constexpr std::string_view note = "note";
constexpr std::string_view divider = "divider";
constexpr std::string_view rowThatIsDone = "row-done";
constexpr std::string_view rowToDo = "row-to-do";
constexpr std::string_view defaultButton = "default-button";

struct WireBlock {
    std::string_view kind;
    std::string text;
    std::string hint;
};

std::string cut(std::string_view text) {
    return BusText::cut(text, WindowProtocol::mostCharacters);
}

struct ToWire {
    WireBlock operator()(const Content::Heading& block) const {
        return {heading, cut(block.text), {}};
    }
    WireBlock operator()(const Content::Paragraph& block) const {
        return {paragraph, cut(block.text), {}};
    }
    WireBlock operator()(const Content::Note& block) const { return {note, cut(block.text), {}}; }
    WireBlock operator()(const Content::Divider& /*block*/) const { return {divider, {}, {}}; }
    WireBlock operator()(const Content::Row& block) const {
        return block.fixHint ? WireBlock{rowToDo, cut(block.title), cut(*block.fixHint)}
                             : WireBlock{rowThatIsDone, cut(block.title), {}};
    }
    WireBlock operator()(const Content::DefaultButton& block) const {
        return {defaultButton, cut(block.title), {}};
    }
};

/// Nothing for a kind that is not known.
std::optional<Content::Block>
fromWire(std::string_view kind, const std::string& text, const std::string& hint) {
    if (kind == heading) {
        return Content::Heading{text};
    }
    if (kind == paragraph) {
        return Content::Paragraph{text};
    }
    if (kind == note) {
        return Content::Note{text};
    }
    if (kind == divider) {
        return Content::Divider{};
    }
    if (kind == rowThatIsDone) {
        return Content::Row{text, std::nullopt};
    }
    if (kind == rowToDo) {
        return Content::Row{text, hint};
    }
    if (kind == defaultButton) {
        return Content::DefaultButton{text};
    }
    return std::nullopt;
}

} // namespace

std::optional<WindowRole> WindowProtocol::roleOfName(std::string_view name) {
    const auto* const found =
        std::ranges::find_if(roles, [&](WindowRole role) { return name == nameOf(role); });
    return found != roles.end() ? std::optional{*found} : std::nullopt;
}

int WindowProtocol::append(sd_bus_message* message, const SetupWindowContent& content) {
    int result = sd_bus_message_append(message, "s", cut(content.title).c_str());
    result = std::min(result, sd_bus_message_open_container(message, 'a', "(sss)"));
    for (std::size_t place = 0; place < std::min(content.blocks.size(), mostBlocks); ++place) {
        const auto block = std::visit(ToWire{}, content.blocks[place]);
        result = std::min(
            result,
            sd_bus_message_append(
                message, "(sss)", block.kind.data(), block.text.c_str(), block.hint.c_str()));
    }
    return std::min(result, sd_bus_message_close_container(message));
}

std::optional<SetupWindowContent> WindowProtocol::read(sd_bus_message* message) {
    // An ellipsis may stand for what was left out.
    constexpr std::size_t mostBytes = 4 * (mostCharacters + 1);
    SetupWindowContent content;
    const char* title = nullptr;
    if (sd_bus_message_read(message, "s", &title) <= 0 ||
        std::string_view{title}.size() > mostBytes ||
        sd_bus_message_enter_container(message, 'a', "(sss)") <= 0) {
        return std::nullopt;
    }
    content.title = title;
    const char* kind = nullptr;
    const char* text = nullptr;
    const char* hint = nullptr;
    while (sd_bus_message_read(message, "(sss)", &kind, &text, &hint) > 0) {
        const bool isShort = std::string_view{text}.size() <= mostBytes &&
                             std::string_view{hint}.size() <= mostBytes;
        auto block = isShort ? fromWire(kind, text, hint) : std::nullopt;
        if (!block || content.blocks.size() == mostBlocks) {
            return std::nullopt;
        }
        content.blocks.push_back(std::move(*block));
    }
    return sd_bus_message_exit_container(message) > 0 ? std::optional{std::move(content)}
                                                      : std::nullopt;
}

} // namespace brindle
