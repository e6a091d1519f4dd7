#include "BrindleRecorderMac/AppKit/AppKitSetupWindow.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

#include <cmath>
#include <variant>
#include <vector>

namespace brindle {

namespace {

// All in points.
constexpr double margin = 24;
constexpr double textWidth = 440;
constexpr double gap = 12;
constexpr double hintIndent = 20;
constexpr double headingSize = 22;
constexpr double textSize = 13;
constexpr double noteSize = 12;
constexpr double tallest = 10'000;

/// A view and where its left edge is; rows from top to bottom.
struct PlacedView {
    Retained<NSView> view;
    double left = margin;
    double gapAbove = gap;
};

Retained<NSView> label(NSString* text, NSFont* font, NSColor* colour, double width) {
    const auto field = taking([[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, width, 0)]);
    [field.get() setStringValue:text];
    [field.get() setFont:font];
    [field.get() setTextColor:colour];
    [field.get() setBezeled:NO];
    [field.get() setEditable:NO];
    [field.get() setSelectable:NO];
    [field.get() setDrawsBackground:NO];
    [[field.get() cell] setWraps:YES];
    const NSSize size = [[field.get() cell] cellSizeForBounds:NSMakeRect(0, 0, width, tallest)];
    [field.get() setFrame:NSMakeRect(0, 0, width, std::ceil(size.height))];
    return keeping<NSView>(field.get());
}

/// Makes the views of one block.
class BlockViews {
  public:
    explicit BlockViews(NSWindow* window) : window_{window} {}

    void operator()(const SetupWindowContent::Heading& heading) {
        add(label(
            nsString(heading.text), [NSFont boldSystemFontOfSize:headingSize], [NSColor labelColor],
            textWidth));
    }
    void operator()(const SetupWindowContent::Paragraph& paragraph) {
        add(text(nsString(paragraph.text)));
    }
    void operator()(const SetupWindowContent::Note& note) {
        add(subdued(nsString(note.text), textWidth));
    }
    void operator()(const SetupWindowContent::Divider& /*divider*/) {
        const auto line = taking([[NSBox alloc] initWithFrame:NSMakeRect(0, 0, textWidth, 1)]);
        [line.get() setBoxType:NSBoxSeparator];
        add(keeping<NSView>(line.get()));
    }
    void operator()(const SetupWindowContent::Row& row) {
        // VoiceOver reads the sign with the title.
        const std::string sign = row.fixHint ? "\xE2\x97\x8B  " : "\xE2\x9C\x93  ";
        add(text(nsString(sign + row.title)));
        if (row.fixHint) {
            constexpr double closeToItsTitle = 2;
            views_.push_back(
                {.view = subdued(nsString(*row.fixHint), textWidth - hintIndent),
                 .left = margin + hintIndent,
                 .gapAbove = closeToItsTitle});
        }
    }
    void operator()(const SetupWindowContent::DefaultButton& button) {
        const auto native = taking([[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 90, 32)]);
        [native.get() setTitle:nsString(button.title)];
        [native.get() setBezelStyle:NSBezelStyleRounded];
        [native.get() setKeyEquivalent:@"\r"];
        [native.get() setTarget:window_];
        [native.get() setAction:@selector(close)];
        const double width = [native.get() frame].size.width;
        views_.push_back(
            {.view = keeping<NSView>(native.get()), .left = margin + textWidth - width});
    }

    [[nodiscard]] const std::vector<PlacedView>& views() const { return views_; }

  private:
    static Retained<NSView> text(NSString* text) {
        return label(text, [NSFont systemFontOfSize:textSize], [NSColor labelColor], textWidth);
    }
    static Retained<NSView> subdued(NSString* text, double width) {
        return label(
            text, [NSFont systemFontOfSize:noteSize], [NSColor secondaryLabelColor], width);
    }
    void add(Retained<NSView> view) { views_.push_back({.view = std::move(view)}); }

    NSWindow* window_;
    std::vector<PlacedView> views_;
};

double heightOf(const std::vector<PlacedView>& views) {
    double height = 2 * margin - gap;
    for (const auto& placed : views) {
        height += placed.gapAbove + [placed.view.get() frame].size.height;
    }
    return height;
}

} // namespace

AppKitSetupWindow::AppKitSetupWindow(const SetupWindowContent& content)
    : window_{taking([[NSWindow alloc]
          initWithContentRect:NSMakeRect(0, 0, textWidth + 2 * margin, 100)
                    styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable
                      backing:NSBackingStoreBuffered
                        defer:NO])} {
    [native() setReleasedWhenClosed:NO];
    setContent(content);
    [native() center];
}

AppKitSetupWindow::~AppKitSetupWindow() {
    @autoreleasepool {
        [native() close];
    }
}

void AppKitSetupWindow::setContent(const SetupWindowContent& content) {
    @autoreleasepool {
        BlockViews blocks{native()};
        for (const auto& block : content.blocks) {
            std::visit(blocks, block);
        }
        [native() setTitle:nsString(content.title)];
        const double height = heightOf(blocks.views());
        const auto page =
            taking([[NSView alloc] initWithFrame:NSMakeRect(0, 0, textWidth + 2 * margin, height)]);
        double top = height - margin + gap;
        for (const auto& [view, left, gapAbove] : blocks.views()) {
            const NSSize size = [view.get() frame].size;
            top -= gapAbove + size.height;
            [view.get() setFrame:NSMakeRect(left, top, size.width, size.height)];
            [page.get() addSubview:view.get()];
        }
        [native() setContentSize:[page.get() frame].size];
        [native() setContentView:page.get()];
    }
}

void AppKitSetupWindow::bringToFront() {
    @autoreleasepool {
        [[NSApplication sharedApplication] activateIgnoringOtherApps:YES];
        [native() makeKeyAndOrderFront:nil];
    }
}

} // namespace brindle
