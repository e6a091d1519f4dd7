#include "BrindleRecorderLinux/Portal/SettingsPortal.hpp"

#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BareBus.hpp"
#include "LinuxTests/ScriptedSettingsPortal.hpp"
#include "LinuxTests/SignalForger.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace brindle {
namespace {

using test::ScriptedSettingsPortal;
using test::SignalForger;
using Key = ScriptedSettingsPortal::Key;
using Value = ScriptedSettingsPortal::Value;

const Key colourScheme{"org.freedesktop.appearance", "color-scheme"};
const Key accentColour{"org.freedesktop.appearance", "accent-color"};
const Key reducedMotion{"org.freedesktop.appearance", "reduced-motion"};
const Key animations{"org.gnome.desktop.interface", "enable-animations"};
const Key duration{"org.kde.kdeglobals.KDE", "AnimationDurationFactor"};

Value number(unsigned value) {
    return ScriptedSettingsPortal::number(value);
}
Value text(const char* value) {
    return ScriptedSettingsPortal::text(value);
}
Value truth(bool value) {
    return ScriptedSettingsPortal::truth(value);
}

class SettingsPortalTest : public testing::Test {
  protected:
    void start(const std::map<Key, Value>& settings) {
        portal_.emplace(settings);
        startProgram();
        EXPECT_TRUE(becomes([&] { return portal_->questions() == 4; }));
        settle();
    }
    void startProgram() {
        settings_.emplace(program_);
        settings_->onPrefersDarkChange = [this] {
            ++changesOfLook_;
        };
        settings_->onReducesMotionChange = [this] {
            ++changesOfMotion_;
        };
        settle();
    }
    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            if (portal_) {
                portal_->serve();
            }
            return condition();
        });
    }
    void settle() {
        liar_.ping(programsName());
        EXPECT_TRUE(becomes([&] { return liar_.isHandled(); }));
    }
    void change(const Key& key, const Value& value) {
        portal_->change(key, value);
        settle();
    }
    [[nodiscard]] std::string programsName() {
        const char* name = nullptr;
        test::requireOfBus(sd_bus_get_unique_name(program_.get(), &name), "no name");
        return name;
    }
    template <class... Arguments>
    void forge(const SignalForger::Signal& signal, const char* types, Arguments... arguments) {
        liar_.send(programsName(), signal, types, arguments...);
        EXPECT_TRUE(becomes([&] { return liar_.isHandled(); }));
    }
    void forgeDarkness() {
        forge(
            {"/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
             "SettingChanged"},
            "ssv", colourScheme.first.c_str(), colourScheme.second.c_str(), "u", 1U);
    }

    test::BareBus bus_;
    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    SignalForger liar_;
    std::optional<ScriptedSettingsPortal> portal_;
    std::optional<SettingsPortal> settings_;
    int changesOfLook_ = 0;
    int changesOfMotion_ = 0;
};

TEST_F(SettingsPortalTest, WithoutAPortalNothingIsDarkAndEverythingMoves) {
    startProgram();
    EXPECT_FALSE(settings_->prefersDark());
    EXPECT_FALSE(settings_->reducesMotion());
}

TEST_F(SettingsPortalTest, ReadsTheColourSchemeAndFollowsIt) {
    start({{colourScheme, number(1)}});
    EXPECT_TRUE(becomes([&] { return settings_->prefersDark(); }));
    EXPECT_EQ(changesOfLook_, 1);
    portal_->change(colourScheme, number(2));
    EXPECT_TRUE(becomes([&] { return !settings_->prefersDark(); }));
    change(colourScheme, number(0));
    change(accentColour, number(1));
    EXPECT_FALSE(settings_->prefersDark());
    EXPECT_EQ(changesOfLook_, 2);
}

TEST_F(SettingsPortalTest, EveryDesktopsWordForLessMotionCounts) {
    start({});
    const struct {
        Key key;
        Value reduced;
        Value moving;
    } words[] = {
        {reducedMotion, number(1), number(0)},
        {animations, truth(false), truth(true)},
        {duration, text("0"), text("1")},
        {duration, text("0.0"), text("0.5")}};
    int changes = 0;
    for (const auto& word : words) {
        portal_->change(word.key, word.reduced);
        EXPECT_TRUE(becomes([&] { return settings_->reducesMotion(); })) << word.key.second;
        portal_->change(word.key, word.moving);
        EXPECT_TRUE(becomes([&] { return !settings_->reducesMotion(); })) << word.key.second;
        changes += 2;
    }
    EXPECT_EQ(changesOfMotion_, changes);
}

TEST_F(SettingsPortalTest, OnlyThePortalSaysWhatHasChanged) {
    start({});
    forgeDarkness();
    EXPECT_FALSE(settings_->prefersDark());
    // Nor does it become the portal by saying so.
    forge(
        SignalForger::nameOwnerChanged(), "sss", "org.freedesktop.portal.Desktop", "",
        liar_.ownName().c_str());
    forgeDarkness();
    EXPECT_FALSE(settings_->prefersDark());
    portal_->change(colourScheme, number(1));
    EXPECT_TRUE(becomes([&] { return settings_->prefersDark(); }));
}

TEST_F(SettingsPortalTest, WithoutAPortalNobodySpeaksForIt) {
    startProgram();
    forgeDarkness();
    EXPECT_FALSE(settings_->prefersDark());
}

TEST_F(SettingsPortalTest, NonsenseChangesNothing) {
    start({{animations, text("off")}, {duration, text("")}});
    change(colourScheme, text("black"));
    change(duration, text("none"));
    change(duration, text("0 seconds"));
    change(colourScheme, [](sd_bus_message* to) {
        return sd_bus_message_append(to, "v", "a{sv}", 1, "color-scheme", "u", 1U);
    });
    EXPECT_FALSE(settings_->prefersDark());
    EXPECT_FALSE(settings_->reducesMotion());
    EXPECT_EQ(changesOfLook_ + changesOfMotion_, 0);
}

} // namespace
} // namespace brindle
