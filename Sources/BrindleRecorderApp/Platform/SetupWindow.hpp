// The one window of the program, as plain records for any toolkit to show.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace brindle {

/// What stands in the window, from top to bottom. Texts are plain and wrap.
struct SetupWindowContent {
    struct Heading { ///< in the largest type, bold
        std::string text;
        friend bool operator==(const Heading&, const Heading&) = default;
    };
    struct Paragraph {
        std::string text;
        friend bool operator==(const Paragraph&, const Paragraph&) = default;
    };
    struct Note { ///< in smaller type and a subdued colour
        std::string text;
        friend bool operator==(const Note&, const Note&) = default;
    };
    struct Divider {
        friend bool operator==(const Divider&, const Divider&) = default;
    };
    struct Row {
        std::string title;
        std::optional<std::string> fixHint; ///< absent: the row is marked as done
        friend bool operator==(const Row&, const Row&) = default;
    };
    /// Closes the window; so does the Return key.
    struct DefaultButton {
        std::string title;
        friend bool operator==(const DefaultButton&, const DefaultButton&) = default;
    };
    using Block = std::variant<Heading, Paragraph, Note, Divider, Row, DefaultButton>;

    std::string title; ///< of the window itself
    std::vector<Block> blocks;

    friend bool operator==(const SetupWindowContent&, const SetupWindowContent&) = default;
};

/// Main thread only. Has a title and can be closed, but neither resized nor minimised. A closed
/// window can be brought back. Destroying it closes it for good.
class SetupWindow {
  public:
    virtual ~SetupWindow() = default;

    /// Shows other content, also while the window is on the screen.
    virtual void setContent(const SetupWindowContent& content) = 0;
    /// Shows the window before all others and makes the program the active one.
    virtual void bringToFront() = 0;
};

} // namespace brindle
