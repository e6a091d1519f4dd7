// Icon, menu, window and workspace over GNUstep's AppKit.
#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"
#include "BrindleRecorderMac/AppKit/AppKitSetupWindow.hpp"
#include "BrindleRecorderMac/AppKit/AppKitWorkspace.hpp"
#include "BrindleRecorderMac/AppKit/IconDrawing.hpp"
#include "BrindleRecorderMac/AppKit/StatusBarItem.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

#include "GNUstep/SystemStandIn.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::eventually;
using test::systemStandIn;
using testing::ElementsAre;

/// The colour at a point of the icon, in points from its upper left corner: red, green, blue and
/// alpha, each from 0 to 1.
class DrawnPixels {
  public:
    explicit DrawnPixels(const IconImage& image) : image_{drawnIcon(image, pixelsPerPoint)} {
        [image_.get() lockFocus];
        const NSSize size = [image_.get() size];
        pixels_ = taking([[NSBitmapImageRep alloc]
            initWithFocusedViewRect:NSMakeRect(0, 0, size.width, size.height)]);
        [image_.get() unlockFocus];
    }

    [[nodiscard]] std::array<double, 4> at(double x, double y) const {
        NSColor* const colour = [[pixels_.get() colorAtX:static_cast<NSInteger>(x * pixelsPerPoint)
                                                       y:static_cast<NSInteger>(y * pixelsPerPoint)]
            colorUsingColorSpaceName:NSDeviceRGBColorSpace];
        return {
            [colour redComponent],
            [colour greenComponent],
            [colour blueComponent],
            [colour alphaComponent]};
    }

  private:
    static constexpr double pixelsPerPoint = 4;

    Retained<NSImage> image_;
    Retained<NSBitmapImageRep> pixels_;
};

MATCHER_P(IsColour, wanted, "") {
    for (std::size_t part = 0; part < 4; ++part) {
        // What is transparent has no colour.
        if (std::abs(arg[part] - wanted[part]) > 0.03 && (part == 3 || wanted[3] > 0)) {
            return false;
        }
    }
    return true;
}

using Colour = std::array<double, 4>;
constexpr Colour black{0, 0, 0, 1};
constexpr Colour white{1, 1, 1, 1};
constexpr Colour nothing{0, 0, 0, 0};

TEST(IconDrawing, IsDrawnAsItsStepsSay) {
    const DrawnPixels pixels{
        MenuBarIconRenderer::image(MenuBarIconState::error("x"), 0, false, Appearance::light)};
    // On the grid of 64 units a point lies at 11/34 of it, moved by (-1.3529, -1.45).
    EXPECT_THAT(pixels.at(9, 5.6), IsColour(nothing)) << "around the knob the hand is cleared";
    EXPECT_THAT(pixels.at(9, 15 * 11.0 / 34 - 1.45), IsColour(black)) << "the knob";
    EXPECT_THAT(pixels.at(9, 35 * 11.0 / 34 - 1.45), IsColour(black)) << "the hub";
    EXPECT_THAT(pixels.at(12 * 11.0 / 34 - 1.3529, 35 * 11.0 / 34 - 1.45), IsColour(black))
        << "the ring, to the left";
    EXPECT_THAT(pixels.at(6, 10), IsColour(nothing)) << "inside of the ring";
    EXPECT_THAT(pixels.at(14.5, 14.5), IsColour(Colour{1, 59 / 255.0, 48 / 255.0, 1})) << "the dot";
    EXPECT_THAT(pixels.at(14.5, 10.8), IsColour(nothing)) << "around the dot";
    EXPECT_THAT(pixels.at(0.2, 0.2), IsColour(nothing));
}

TEST(IconDrawing, FollowsTheStateAndTheSurroundings) {
    const DrawnPixels dark{
        MenuBarIconRenderer::image(MenuBarIconState::idle(), 0, false, Appearance::dark)};
    EXPECT_THAT(dark.at(9, 35 * 11.0 / 34 - 1.45), IsColour(white));
    EXPECT_THAT(dark.at(14.5, 14.5), IsColour(Colour{142 / 255.0, 142 / 255.0, 147 / 255.0, 1}));
    const DrawnPixels pulsing{
        MenuBarIconRenderer::image(MenuBarIconState::recording(), 0.5, false, Appearance::light)};
    EXPECT_NEAR(pulsing.at(14.5, 14.5)[3], 0.35, 0.02);
}

class StatusBarItemTest : public testing::Test {
  protected:
    static Menu menu(const char* status, bool isOn, bool withStop) {
        Menu all{
            {"status", MenuItem::Text{status}},
            {"line", MenuItem::Divider{}},
            {"ask", MenuItem::Toggle{"Ask & wait", isOn}},
            {"more", MenuItem::Submenu{"More", {{"sub", MenuItem::Button{"Sub", std::nullopt}}}}}};
        if (withStop) {
            all.insert(all.begin() + 1, {"stop", MenuItem::Button{"Stop", MenuShortcut{'s'}}});
        }
        return all;
    }

    NSMenuItem* line(NSInteger index) const {
        return static_cast<NSMenuItem*>([item_.menu() itemAtIndex:index]);
    }

    StatusBarItem item_;
};

TEST_F(StatusBarItemTest, ShowsTheIconWithItsDescription) {
    item_.showIcon(
        MenuBarIconRenderer::image(MenuBarIconState::idle(), 0, false, Appearance::light));
    NSImage* const icon = [item_.button() image];
    EXPECT_EQ([icon size].width, 18);
    EXPECT_EQ(stringOf([icon accessibilityDescription]), "Brindle Recorder: idle");
    EXPECT_TRUE(item_.isShown());
}

TEST_F(StatusBarItemTest, ShowsEverySortOfLine) {
    item_.showMenu(menu("K\xC3\xB6nig \xFF", true, true));
    ASSERT_EQ([item_.menu() numberOfItems], 5);
    EXPECT_EQ(stringOf([line(0) title]), "K\xC3\xB6nig \xEF\xBF\xBD");
    EXPECT_FALSE([line(0) isEnabled]);
    EXPECT_EQ(stringOf([line(1) keyEquivalent]), "s");
    EXPECT_TRUE([line(1) isEnabled]);
    EXPECT_TRUE([line(2) isSeparatorItem]);
    EXPECT_EQ(stringOf([line(3) title]), "Ask & wait");
    EXPECT_EQ([line(3) state], NSControlStateValueOn);
    EXPECT_EQ([[line(4) submenu] numberOfItems], 1);
}

TEST_F(StatusBarItemTest, LinesThatStayAreChangedInPlace) {
    item_.showMenu(menu("Idle", false, false));
    NSMenuItem* const status = line(0);
    NSMenuItem* const toggle = line(2);
    NSMenu* const below = [line(3) submenu];
    item_.showMenu(menu("Recording", true, true));
    EXPECT_EQ(line(0), status);
    EXPECT_EQ(line(3), toggle);
    EXPECT_EQ([line(4) submenu], below);
    EXPECT_EQ(stringOf([status title]), "Recording");
    EXPECT_EQ([toggle state], NSControlStateValueOn);
    item_.showMenu(menu("Idle", true, false));
    ASSERT_EQ([item_.menu() numberOfItems], 4);
    EXPECT_EQ(line(2), toggle);
    item_.showMenu({{"ask", MenuItem::Text{"now a text"}}});
    ASSERT_EQ([item_.menu() numberOfItems], 1);
    EXPECT_FALSE([line(0) isEnabled]) << "another sort is another line";
}

TEST_F(StatusBarItemTest, TellsWhatIsActivatedAndLeavesItsLooksToTheMenu) {
    std::vector<std::string> activated;
    item_.setActivationHandler([&](const std::string& id) {
        activated.push_back(id);
        item_.showMenu(menu("Other", false, true));
    });
    item_.showMenu(menu("Idle", false, true));
    [item_.menu() performActionForItemAtIndex:1];
    [item_.menu() performActionForItemAtIndex:3];
    EXPECT_EQ([line(3) state], NSControlStateValueOff);
    [[line(4) submenu] performActionForItemAtIndex:0];
    EXPECT_THAT(activated, ElementsAre("stop", "ask", "sub"));
    item_.setActivationHandler({});
    [item_.menu() performActionForItemAtIndex:1];
    EXPECT_EQ(activated.size(), 3U);
}

TEST_F(StatusBarItemTest, ALineMayGoWhileItIsActivated) {
    item_.setActivationHandler([&](const std::string&) { item_.showMenu({}); });
    item_.showMenu(menu("Idle", false, true));
    [[line(4) submenu] performActionForItemAtIndex:0];
    EXPECT_EQ([item_.menu() numberOfItems], 0);
}

TEST_F(StatusBarItemTest, TellsThatTheMenuIsAboutToOpen) {
    int openings = 0;
    item_.setMenuOpeningHandler([&] { ++openings; });
    [[item_.menu() delegate] menuWillOpen:item_.menu()];
    EXPECT_EQ(openings, 1);
}

TEST(StatusBarItem, ItsMenuMayOutliveIt) {
    Retained<NSMenu> menu;
    {
        StatusBarItem item;
        item.setActivationHandler([](const std::string&) { FAIL(); });
        item.showMenu({{"a", MenuItem::Button{"A", std::nullopt}}});
        menu = keeping(item.menu());
    }
    EXPECT_EQ([menu.get() numberOfItems], 0);
    EXPECT_EQ([menu.get() delegate], nil);
}

SetupWindowContent setupContent() {
    return {
        .title = "Brindle Recorder Setup",
        .blocks = {
            SetupWindowContent::Heading{"Brindle Recorder"},
            SetupWindowContent::Paragraph{std::string(400, 'w') + " & more"},
            SetupWindowContent::Note{"Optional"}, SetupWindowContent::Divider{},
            SetupWindowContent::Row{"Camera access", std::nullopt},
            SetupWindowContent::Row{"Microphone access", "Allow it."},
            SetupWindowContent::DefaultButton{"Done"}}};
}

std::vector<std::string> textsOf(NSWindow* window) {
    std::vector<std::string> texts;
    for (NSView* view in [[window contentView] subviews]) {
        if ([view isKindOfClass:[NSTextField class]]) {
            texts.push_back(stringOf([static_cast<NSTextField*>(view) stringValue]));
        } else if ([view isKindOfClass:[NSButton class]]) {
            texts.push_back("[" + stringOf([static_cast<NSButton*>(view) title]) + "]");
        }
    }
    return texts;
}

TEST(AppKitSetupWindow, ShowsItsBlocksFromTopToBottom) {
    AppKitSetupWindow window{setupContent()};
    EXPECT_EQ(stringOf([window.native() title]), "Brindle Recorder Setup");
    EXPECT_THAT(
        textsOf(window.native()), ElementsAre(
                                      "Brindle Recorder", std::string(400, 'w') + " & more",
                                      "Optional", "\xE2\x9C\x93  Camera access",
                                      "\xE2\x97\x8B  Microphone access", "Allow it.", "[Done]"));
    double above = [[window.native() contentView] frame].size.height;
    for (NSView* view in [[window.native() contentView] subviews]) {
        const NSRect frame = [view frame];
        EXPECT_LE(NSMaxY(frame), above) << "nothing overlaps";
        EXPECT_GT(frame.size.height, 0);
        above = NSMinY(frame);
    }
    EXPECT_GE(above, 0);
}

TEST(AppKitSetupWindow, ClosesByItsButtonAndComesBack) {
    AppKitSetupWindow window{setupContent()};
    EXPECT_FALSE([window.native() isVisible]);
    window.bringToFront();
    EXPECT_TRUE([window.native() isVisible]);
    EXPECT_EQ([window.native() styleMask], NSUInteger { 3 }) << "titled and closable, no more";
    NSButton* const done = [[[window.native() contentView] subviews] lastObject];
    EXPECT_EQ(stringOf([done keyEquivalent]), "\r");
    [done performClick:nil];
    EXPECT_FALSE([window.native() isVisible]);
    window.bringToFront();
    EXPECT_TRUE([window.native() isVisible]);
}

TEST(AppKitSetupWindow, TakesOtherContentWhileItShows) {
    AppKitSetupWindow window{setupContent()};
    window.bringToFront();
    window.setContent({.title = "Other", .blocks = {SetupWindowContent::Note{"x"}}});
    EXPECT_THAT(textsOf(window.native()), ElementsAre("x"));
    EXPECT_TRUE([window.native() isVisible]);
    EXPECT_EQ(stringOf([window.native() title]), "Other");
}

class AppKitWorkspaceTest : public testing::Test {
  protected:
    AppKitWorkspaceTest() { test::SystemStandIn::reset(); }
    ~AppKitWorkspaceTest() override { test::SystemStandIn::reset(); }

    const Retained<NSView> view_ = taking([[NSView alloc] init]);
    AppKitWorkspace workspace_{view_.get()};
};

TEST_F(AppKitWorkspaceTest, OpensFoldersAndApplications) {
    systemStandIn.applicationFolders = {{"com.tamsworth.brindlecontent", "/Applications/C.app"}};
    workspace_.openFolder("/Users/a/Movies/Brindle");
    EXPECT_EQ(workspace_.application("com.example.none"), std::nullopt);
    const auto companion = workspace_.application("com.tamsworth.brindlecontent");
    ASSERT_EQ(companion, "/Applications/C.app");
    workspace_.openApplication(*companion);
    EXPECT_THAT(
        systemStandIn.opened,
        ElementsAre("folder /Users/a/Movies/Brindle", "application /Applications/C.app"));
    EXPECT_TRUE(workspace_.ownApplication());
}

TEST_F(AppKitWorkspaceTest, HearsWhetherMotionIsWanted) {
    EXPECT_FALSE(workspace_.reducesMotion());
    int changes = 0;
    auto observation = workspace_.observeReduceMotion([&] { ++changes; });
    systemStandIn.reducesMotion = true;
    const auto announce = [] {
        [[[NSWorkspace sharedWorkspace] notificationCenter]
            postNotificationName:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                          object:nil];
    };
    announce();
    EXPECT_TRUE(eventually([&] { return changes == 1; }));
    EXPECT_TRUE(workspace_.reducesMotion());
    observation.reset();
    announce();
    test::drainMainQueue();
    EXPECT_EQ(changes, 1);
}

TEST_F(AppKitWorkspaceTest, TheAppearanceIsThatOfTheIconsPlace) {
    EXPECT_EQ(workspace_.appearance(), Appearance::light) << "where the desktop does not say";
    test::setEffectiveAppearance(@"NSAppearanceNameDarkAqua", view_.get());
    EXPECT_EQ(workspace_.appearance(), Appearance::dark);
    int changes = 0;
    auto observation = workspace_.observeAppearance([&] { ++changes; });
    test::setEffectiveAppearance(@"NSAppearanceNameAqua", view_.get());
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(workspace_.appearance(), Appearance::light);
    observation.reset();
    test::setEffectiveAppearance(@"NSAppearanceNameDarkAqua", view_.get());
    EXPECT_EQ(changes, 1);
    test::setEffectiveAppearance(nil, view_.get());
}

} // namespace
} // namespace brindle
