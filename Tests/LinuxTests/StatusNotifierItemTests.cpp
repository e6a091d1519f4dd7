#include "BrindleRecorderLinux/Tray/StatusNotifierItem.hpp"

#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/BusVisitor.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"
#include "LinuxTests/SignalForger.hpp"
#include "LinuxTests/WaitOnLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";

/// A register of icons, which remembers who came. Most panels bring their own; on some desktops it
/// is there before any panel shows icons, or without one.
class Watcher {
  public:
    enum class Host { registered, missing, unknown };

    explicit Watcher(Host host = Host::registered, const char* path = watcherPath)
        : host_{host}, object_{watcherName, path, watcherName, table(host), this} {}
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    std::vector<std::string> items;
    int questions = 0; ///< for a host
    [[nodiscard]] std::string ownName() const { return test::ownNameOf(object_.bus()); }

    void serve() { object_.serve(); }
    /// Of a watcher elsewhere: from now on it is where it is looked for.
    void appear() {
        test::requireOfBus(
            sd_bus_add_object_vtable(
                object_.bus(), nullptr, watcherPath, watcherName, table(host_), this),
            "no object");
    }

    /// A panel comes or goes.
    void setHost(Host host) {
        host_ = host;
        if (host == Host::registered) {
            say("StatusNotifierHostRegistered");
        } else {
            sayThatAHostHasGone();
        }
    }
    void sayThatAHostHasGone() { say("StatusNotifierHostUnregistered"); }

  private:
    static const sd_bus_vtable* table(Host host) {
        static const sd_bus_vtable withHosts[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD(
                "RegisterStatusNotifierItem", "s", "", &Watcher::take, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", &Watcher::answer, 0, 0),
            SD_BUS_VTABLE_END,
        };
        static const sd_bus_vtable withoutHosts[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD(
                "RegisterStatusNotifierItem", "s", "", &Watcher::take, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        };
        return host == Host::unknown ? withoutHosts : withHosts;
    }

    static int take(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        const char* name = nullptr;
        test::requireOfBus(sd_bus_message_read(call, "s", &name), "no name");
        static_cast<Watcher*>(self)->items.emplace_back(name);
        return sd_bus_reply_method_return(call, nullptr);
    }
    static int answer(
        sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
        sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
        auto& watcher = *static_cast<Watcher*>(self);
        ++watcher.questions;
        return sd_bus_message_append(reply, "b", watcher.host_ == Host::registered ? 1 : 0);
    }

    void say(const char* signal) {
        test::requireOfBus(
            sd_bus_emit_signal(object_.bus(), watcherPath, watcherName, signal, nullptr),
            "no signal");
        test::requireOfBus(sd_bus_flush(object_.bus()), "no signal");
    }

    Host host_;
    test::ScriptedBusObject object_;
};

IconImage icon(const MenuBarIconState& state) {
    return MenuBarIconRenderer::image(state, 0, true, Appearance::light);
}

class StatusNotifierItemTest : public testing::Test {
  protected:
    StatusNotifierItemTest() {
        item_.show(icon(MenuBarIconState::idle()));
        item_.onTakenChange = [this] {
            told_.push_back(item_.isTaken());
        };
    }

    [[nodiscard]] bool becomes(const std::function<bool()>& condition) {
        return waitUntil(loop_, [&] {
            if (watcher_) {
                watcher_->serve();
            }
            return condition();
        });
    }
    [[nodiscard]] bool becomesTaken(bool isTaken) {
        return becomes([&] { return !told_.empty() && item_.isTaken() == isTaken; });
    }
    /// Until everything that is on its way to the program has been handled.
    void settle() {
        forger_.ping(programName());
        ASSERT_TRUE(becomes([&] { return forger_.isHandled(); }));
        if (watcher_) {
            watcher_->serve();
        }
    }
    template <class... Arguments>
    void
    forge(const test::SignalForger::Signal& signal, const char* types, Arguments... arguments) {
        forger_.send(programName(), signal, types, arguments...);
        ASSERT_TRUE(becomes([&] { return forger_.isHandled(); }));
        settle();
    }

    [[nodiscard]] std::string programName() { return test::ownNameOf(program_.get()); }
    [[nodiscard]] test::BusVisitor::Place place() {
        return {programName(), StatusNotifierItem::path, StatusNotifierItem::interface};
    }
    [[nodiscard]] std::string text(const char* property) { return panel_.text(place(), property); }

    EventLoop loop_;
    BusOnLoop program_{loop_, BusOnLoop::Which::session};
    test::BusVisitor panel_{loop_};
    test::SignalForger forger_;
    std::optional<Watcher> watcher_;
    std::vector<bool> told_; ///< whether it is taken, at each change
    StatusNotifierItem item_{loop_};
};

TEST_F(StatusNotifierItemTest, IntroducesItselfToThePanelThatIsThere) {
    watcher_.emplace();
    ASSERT_TRUE(item_.exportOn(program_));
    EXPECT_TRUE(becomesTaken(true));
    EXPECT_THAT(watcher_->items, SizeIs(1));
}

TEST_F(StatusNotifierItemTest, TheNameThatItIntroducesItselfWithLeadsToIt) {
    watcher_.emplace();
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomesTaken(true));
    EXPECT_EQ(
        panel_.text(
            {watcher_->items.at(0), StatusNotifierItem::path, StatusNotifierItem::interface}, "Id"),
        "brindle-recorder");
}

TEST_F(StatusNotifierItemTest, IntroducesItselfToAPanelThatComesLateAndToOneThatComesBack) {
    ASSERT_TRUE(item_.exportOn(program_));
    EXPECT_TRUE(becomesTaken(false));
    for (int time = 0; time < 2; ++time) {
        watcher_.emplace();
        EXPECT_TRUE(becomesTaken(true));
        EXPECT_THAT(watcher_->items, SizeIs(1));
        watcher_.reset();
        EXPECT_TRUE(becomesTaken(false));
    }
}

TEST_F(StatusNotifierItemTest, IntroducesItselfAgainToAWatcherThatHadItsNameBeforeItCouldAnswer) {
    watcher_.emplace(Watcher::Host::registered, "/not/there/yet");
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomesTaken(false));
    EXPECT_THAT(watcher_->items, IsEmpty());
    watcher_->appear();
    EXPECT_TRUE(becomesTaken(true));
    EXPECT_THAT(watcher_->items, SizeIs(1));
}

TEST_F(StatusNotifierItemTest, AWatcherWithoutAHostShowsNoIcon) {
    watcher_.emplace(Watcher::Host::missing);
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomes([&] { return !told_.empty(); }));
    EXPECT_THAT(watcher_->items, SizeIs(1)) << "a panel that comes later finds the icon";
    watcher_->setHost(Watcher::Host::registered);
    EXPECT_TRUE(becomes([&] { return told_.size() == 2; }));
    watcher_->setHost(Watcher::Host::missing);
    EXPECT_TRUE(becomes([&] { return told_.size() == 3; }));
    EXPECT_THAT(told_, ElementsAre(false, true, false));
}

TEST_F(StatusNotifierItemTest, TheFirstOfTwoHostsThatGoesTakesNothingAway) {
    watcher_.emplace();
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomesTaken(true));
    told_.clear();
    watcher_->sayThatAHostHasGone();
    ASSERT_TRUE(becomes([&] { return watcher_->questions == 2; }));
    settle();
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(StatusNotifierItemTest, AWatcherThatKnowsNoHostsIsAPanel) {
    watcher_.emplace(Watcher::Host::unknown);
    ASSERT_TRUE(item_.exportOn(program_));
    EXPECT_TRUE(becomesTaken(true));
}

TEST_F(StatusNotifierItemTest, OnlyTheWatcherSaysThatAHostHasComeOrGone) {
    watcher_.emplace();
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomesTaken(true));
    for (const char* member : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        forge({watcherPath, watcherName, member}, "");
        EXPECT_EQ(watcher_->questions, 1) << member << ": nobody is asked again";
    }
}

TEST_F(StatusNotifierItemTest, OnlyTheBusItselfSaysThatThePanelHasGone) {
    watcher_.emplace();
    ASSERT_TRUE(item_.exportOn(program_));
    ASSERT_TRUE(becomesTaken(true));
    for (const std::string& successor : {std::string{}, forger_.ownName()}) {
        forge(
            test::SignalForger::nameOwnerChanged(), "sss", watcherName, watcher_->ownName().c_str(),
            successor.c_str());
        EXPECT_TRUE(item_.isTaken());
    }
    EXPECT_THAT(watcher_->items, SizeIs(1)) << "it does not introduce itself again";
}

TEST_F(StatusNotifierItemTest, SaysOfEveryChangeAndFirstOfAllThatNoPanelIsThere) {
    ASSERT_TRUE(item_.exportOn(program_));
    EXPECT_THAT(told_, IsEmpty()); // nobody has answered yet
    EXPECT_TRUE(becomes([&] { return told_.size() == 1; }));
    watcher_.emplace();
    EXPECT_TRUE(becomes([&] { return told_.size() == 2; }));
    watcher_.reset();
    EXPECT_TRUE(becomes([&] { return told_.size() == 3; }));
    EXPECT_THAT(told_, ElementsAre(false, true, false));
}

TEST_F(StatusNotifierItemTest, SaysItsStateInTitleAndToolTip) {
    ASSERT_TRUE(item_.exportOn(program_));
    for (const char* name : {"Title", "IconAccessibleDesc", "AttentionAccessibleDesc"}) {
        EXPECT_EQ(text(name), "Brindle Recorder: idle") << name;
    }
    const BusMessage toolTip = panel_.property(place(), "ToolTip");
    const char* title = nullptr;
    ASSERT_GT(sd_bus_message_enter_container(toolTip.get(), 'v', "(sa(iiay)ss)"), 0);
    ASSERT_GT(sd_bus_message_enter_container(toolTip.get(), 'r', "sa(iiay)ss"), 0);
    ASSERT_GE(sd_bus_message_skip(toolTip.get(), "sa(iiay)"), 0);
    ASSERT_GT(sd_bus_message_read(toolTip.get(), "s", &title), 0);
    EXPECT_STREQ(title, "Brindle Recorder: idle");

    panel_.listenTo(place());
    item_.show(icon(MenuBarIconState::error("no microphone")));
    std::vector<std::string> signals;
    for (const auto& signal : panel_.heard()) {
        signals.emplace_back(sd_bus_message_get_member(signal.get()));
    }
    EXPECT_THAT(signals, ElementsAre("NewIcon", "NewTitle", "NewToolTip"));
    EXPECT_EQ(text("Title"), "Brindle Recorder: error, no microphone");
}

TEST_F(StatusNotifierItemTest, WordsThatAreNoTextDoNotEndTheConnection) {
    ASSERT_TRUE(item_.exportOn(program_));
    item_.show(icon(MenuBarIconState::error("a camera called \xff")));
    EXPECT_EQ(text("Title"), "Brindle Recorder: error, a camera called \xEF\xBF\xBD");
}

TEST_F(StatusNotifierItemTest, OpensTheMenuForAPanelThatDoesNotButNotAtAClickWithTheMiddleButton) {
    int requests = 0;
    item_.onMenuRequest = [&] {
        ++requests;
    };
    ASSERT_TRUE(item_.exportOn(program_));
    const auto click = [&](const char* kind) {
        const BusMessage answer = panel_.call(place(), kind, "ii", 900, 14);
        EXPECT_TRUE(isAnswer(answer.get())) << kind;
    };
    click("SecondaryActivate");
    EXPECT_EQ(requests, 0);
    click("Activate");
    EXPECT_EQ(requests, 1);
    click("ContextMenu");
    EXPECT_EQ(requests, 2);
}

TEST_F(StatusNotifierItemTest, ANewPictureWithTheOldWordsIsOnlyANewPicture) {
    const auto recordingAt = [](double time) {
        return MenuBarIconRenderer::image(
            MenuBarIconState::recording(), time, false, Appearance::light);
    };
    item_.show(recordingAt(0));
    ASSERT_TRUE(item_.exportOn(program_));
    panel_.listenTo(place());
    item_.show(recordingAt(0.5));
    const auto signals = panel_.heard();
    ASSERT_THAT(signals, SizeIs(1));
    EXPECT_STREQ(sd_bus_message_get_member(signals[0].get()), "NewIcon");
}

TEST_F(StatusNotifierItemTest, OffersThePictureInTheSizesOfPanels) {
    ASSERT_TRUE(item_.exportOn(program_));
    const BusMessage answer = panel_.property(place(), "IconPixmap");
    sd_bus_message* const pictures = answer.get();
    ASSERT_GT(sd_bus_message_enter_container(pictures, 'v', "a(iiay)"), 0);
    ASSERT_GT(sd_bus_message_enter_container(pictures, 'a', "(iiay)"), 0);
    std::vector<int> sizes;
    while (sd_bus_message_enter_container(pictures, 'r', "iiay") > 0) {
        int width = 0;
        int height = 0;
        const void* bytes = nullptr;
        std::size_t size = 0;
        ASSERT_GT(sd_bus_message_read(pictures, "ii", &width, &height), 0);
        ASSERT_GT(sd_bus_message_read_array(pictures, 'y', &bytes, &size), 0);
        ASSERT_GE(sd_bus_message_exit_container(pictures), 0);
        EXPECT_EQ(width, height);
        const auto picture = IconPainter::paint(icon(MenuBarIconState::idle()), width);
        ASSERT_EQ(size, picture.bytes.size());
        EXPECT_EQ(std::memcmp(bytes, picture.bytes.data(), size), 0) << width;
        sizes.push_back(width);
    }
    EXPECT_THAT(sizes, ElementsAre(16, 18, 22, 24, 32, 36, 44, 48, 64));
}

TEST_F(StatusNotifierItemTest, EveryPropertyCanBeReadAndIsDescribed) {
    ASSERT_TRUE(item_.exportOn(program_));
    const std::string description = panel_.description(place());
    for (const char* line :
         {R"~(<property name="Category" type="s")~", R"~(<property name="Id" type="s")~",
          R"~(<property name="Title" type="s")~", R"~(<property name="Status" type="s")~",
          R"~(<property name="WindowId" type="i")~", R"~(<property name="IconThemePath" type="s")~",
          R"~(<property name="IconName" type="s")~",
          R"~(<property name="IconPixmap" type="a(iiay)")~",
          R"~(<property name="OverlayIconPixmap" type="a(iiay)")~",
          R"~(<property name="AttentionIconPixmap" type="a(iiay)")~",
          R"~(<property name="ToolTip" type="(sa(iiay)ss)")~",
          R"~(<property name="ItemIsMenu" type="b")~", R"~(<property name="Menu" type="o")~"}) {
        EXPECT_THAT(description, HasSubstr(line));
    }
    const BusMessage all = panel_.call(
        {programName(), StatusNotifierItem::path, "org.freedesktop.DBus.Properties"}, "GetAll", "s",
        StatusNotifierItem::interface);
    EXPECT_TRUE(isAnswer(all.get()));
    EXPECT_EQ(text("Category"), "ApplicationStatus");
    EXPECT_EQ(text("Status"), "Active");
    const char* menu = nullptr;
    const BusMessage answer = panel_.property(place(), "Menu");
    ASSERT_GT(sd_bus_message_read(answer.get(), "v", "o", &menu), 0);
    EXPECT_STREQ(menu, "/MenuBar");
}

} // namespace
} // namespace brindle
