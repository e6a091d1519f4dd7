#include "BrindleRecorderLinux/DBus/StatusNotifierItem.hpp"

#include "BrindleRecorderApp/Shell/MenuBarIconRenderer.hpp"
#include "DesktopTests/Bus.hpp"

#include <QDBusVirtualObject>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace brindle {
namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString interface = QStringLiteral("org.kde.StatusNotifierItem");

/// A register of icons, which remembers who came. Most panels bring their own; on some desktops it
/// is there before any panel shows icons, or without one.
class Watcher final : public QDBusVirtualObject {
  public:
    enum class Host { registered, missing, unknown };

    explicit Watcher(Host host = Host::registered) : host_{host} {
        client_.bus().registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        client_.bus().registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~Watcher() override {
        takeFromBus(client_.bus(), QStringLiteral("/StatusNotifierWatcher"), *this);
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;
    QStringList items;
    int questions = 0;                                                            ///< for a host
    [[nodiscard]] QString ownName() const { return client_.bus().baseService(); } ///< unique

    [[nodiscard]] QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == QLatin1String("Get")) {
            ++questions;
            connection.send(
                host_ == Host::unknown
                    ? message.createErrorReply(QDBusError::UnknownProperty, QStringLiteral("no"))
                    : message.createReply(
                          QVariant::fromValue(QDBusVariant{host_ == Host::registered})));
            return true;
        }
        items.append(message.arguments().value(0).toString());
        connection.send(message.createReply());
        return true;
    }
    /// A panel comes or goes.
    void setHost(Host host) {
        host_ = host;
        if (host == Host::registered) {
            say(QStringLiteral("StatusNotifierHostRegistered"));
        } else {
            sayThatAHostHasGone();
        }
    }
    void sayThatAHostHasGone() { say(QStringLiteral("StatusNotifierHostUnregistered")); }

  private:
    void say(const QString& signal) {
        client_.bus().send(QDBusMessage::createSignal(
            QStringLiteral("/StatusNotifierWatcher"), watcherName, signal));
    }

    BusClient client_;
    Host host_;
};

IconImage icon(const MenuBarIconState& state) {
    return MenuBarIconRenderer::image(state, 0, true, Appearance::light);
}

class StatusNotifierItemTest : public testing::Test {
  protected:
    StatusNotifierItemTest() { item_.show(icon(MenuBarIconState::idle())); }

    QVariant property(const char* name) {
        return panel_.property(
            program_.bus().baseService(), QString::fromLatin1(StatusNotifierItem::path), interface,
            QString::fromLatin1(name));
    }

    BusClient program_;
    BusClient panel_;
    StatusNotifierItem item_;
};

TEST_F(StatusNotifierItemTest, IntroducesItselfToThePanelThatIsThere) {
    const Watcher watcher;
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    EXPECT_TRUE(waitUntil([&] { return item_.isTaken(); }));
    EXPECT_EQ(watcher.items.size(), 1);
}

TEST_F(StatusNotifierItemTest, IntroducesItselfToAPanelThatComesLateAndToOneThatComesBack) {
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    settle(program_.bus());
    EXPECT_FALSE(item_.isTaken());
    for (int time = 0; time < 2; ++time) {
        std::optional<Watcher> watcher{std::in_place};
        EXPECT_TRUE(waitUntil([&] { return item_.isTaken(); }));
        EXPECT_EQ(watcher->items.size(), 1);
        watcher.reset();
        EXPECT_TRUE(waitUntil([&] { return !item_.isTaken(); }));
    }
}

TEST_F(StatusNotifierItemTest, AWatcherWithoutAHostShowsNoIcon) {
    std::vector<bool> told;
    item_.onTakenChange = [&] {
        told.push_back(item_.isTaken());
    };
    Watcher watcher{Watcher::Host::missing};
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    ASSERT_TRUE(waitUntil([&] { return !told.empty(); }));
    EXPECT_EQ(watcher.items.size(), 1) << "a panel that comes later finds the icon";
    watcher.setHost(Watcher::Host::registered);
    EXPECT_TRUE(waitUntil([&] { return told.size() == 2; }));
    watcher.setHost(Watcher::Host::missing);
    EXPECT_TRUE(waitUntil([&] { return told.size() == 3; }));
    EXPECT_THAT(told, testing::ElementsAre(false, true, false));
}

TEST_F(StatusNotifierItemTest, TheFirstOfTwoHostsThatGoesTakesNothingAway) {
    Watcher watcher;
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    ASSERT_TRUE(waitUntil([&] { return item_.isTaken(); }));
    std::vector<bool> told;
    item_.onTakenChange = [&] {
        told.push_back(item_.isTaken());
    };
    watcher.sayThatAHostHasGone();
    ASSERT_TRUE(waitUntil([&] { return watcher.questions == 2; }));
    settle(program_.bus());
    EXPECT_THAT(told, testing::IsEmpty());
}

TEST_F(StatusNotifierItemTest, AWatcherThatKnowsNoHostsIsAPanel) {
    const Watcher watcher{Watcher::Host::unknown};
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    EXPECT_TRUE(waitUntil([&] { return item_.isTaken(); }));
}

TEST_F(StatusNotifierItemTest, OnlyTheWatcherSaysThatAHostHasComeOrGone) {
    const Watcher watcher;
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    ASSERT_TRUE(waitUntil([&] { return item_.isTaken(); }));
    const BusClient liar;
    for (const char* member : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        forge(
            liar, program_.bus(),
            {QStringLiteral("/StatusNotifierWatcher"), watcherName, QString::fromLatin1(member)},
            {});
        settle(program_.bus());
        EXPECT_EQ(watcher.questions, 1) << member << ": nobody is asked again";
    }
}

TEST_F(StatusNotifierItemTest, OnlyTheBusItselfSaysThatThePanelHasGone) {
    const Watcher watcher;
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    ASSERT_TRUE(waitUntil([&] { return item_.isTaken(); }));
    const BusClient liar;
    for (const QString& successor : {QString{}, liar.bus().baseService()}) {
        forge(
            liar, program_.bus(), ForgedSignal::nameOwnerChanged(),
            {watcherName, watcher.ownName(), successor});
        settle(program_.bus());
        EXPECT_TRUE(item_.isTaken());
    }
    EXPECT_EQ(watcher.items.size(), 1) << "it does not introduce itself again";
}

TEST_F(StatusNotifierItemTest, SaysOfEveryChangeAndFirstOfAllThatNoPanelIsThere) {
    std::vector<bool> told;
    item_.onTakenChange = [&] {
        told.push_back(item_.isTaken());
    };
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    EXPECT_THAT(told, testing::IsEmpty()); // nobody has answered yet
    EXPECT_TRUE(waitUntil([&] { return told.size() == 1; }));
    {
        const Watcher watcher;
        EXPECT_TRUE(waitUntil([&] { return told.size() == 2; }));
    }
    EXPECT_TRUE(waitUntil([&] { return told.size() == 3; }));
    EXPECT_THAT(told, testing::ElementsAre(false, true, false));
}

TEST_F(StatusNotifierItemTest, SaysItsStateInTitleAndToolTip) {
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    for (const char* name : {"Title", "IconAccessibleDesc", "AttentionAccessibleDesc"}) {
        EXPECT_EQ(property(name), QStringLiteral("Brindle Recorder: idle")) << name;
    }
    EXPECT_EQ(
        qdbus_cast<traywire::ToolTip>(property("ToolTip")).title,
        QStringLiteral("Brindle Recorder: idle"));

    QSignalSpy titles{&item_, &StatusNotifierItem::NewTitle};
    QSignalSpy toolTips{&item_, &StatusNotifierItem::NewToolTip};
    item_.show(icon(MenuBarIconState::error("no microphone")));
    EXPECT_EQ(titles.size(), 1);
    EXPECT_EQ(toolTips.size(), 1);
    EXPECT_EQ(property("Title"), QStringLiteral("Brindle Recorder: error, no microphone"));
}

TEST_F(StatusNotifierItemTest, OpensTheMenuForAPanelThatDoesNotButNotAtAClickWithTheMiddleButton) {
    int requests = 0;
    item_.onMenuRequest = [&] {
        ++requests;
    };
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    const auto click = [&](const char* kind) {
        panel_.call(
            program_.bus().baseService(), QString::fromLatin1(StatusNotifierItem::path), interface,
            QString::fromLatin1(kind), {900, 14});
    };
    click("SecondaryActivate");
    EXPECT_EQ(requests, 0);
    click("Activate");
    EXPECT_EQ(requests, 1);
    click("ContextMenu");
    EXPECT_EQ(requests, 2);
}

TEST_F(StatusNotifierItemTest, ANewPictureWithTheOldWordsIsOnlyANewPicture) {
    item_.show(
        MenuBarIconRenderer::image(MenuBarIconState::recording(), 0, false, Appearance::light));
    QSignalSpy icons{&item_, &StatusNotifierItem::NewIcon};
    QSignalSpy titles{&item_, &StatusNotifierItem::NewTitle};
    item_.show(
        MenuBarIconRenderer::image(MenuBarIconState::recording(), 0.5, false, Appearance::light));
    EXPECT_EQ(icons.size(), 1);
    EXPECT_EQ(titles.size(), 0);
}

TEST_F(StatusNotifierItemTest, OffersThePictureInTheSizesOfPanels) {
    ASSERT_TRUE(item_.exportOn(program_.bus()));
    const auto pixmaps = qdbus_cast<traywire::PixmapList>(property("IconPixmap"));
    std::vector<int> sizes;
    for (const auto& pixmap : pixmaps) {
        EXPECT_EQ(pixmap.width, pixmap.height);
        EXPECT_EQ(pixmap.bytes.size(), pixmap.width * pixmap.height * 4);
        sizes.push_back(pixmap.width);
    }
    EXPECT_THAT(sizes, testing::ElementsAre(16, 18, 22, 24, 32, 36, 44, 48, 64));
}

} // namespace
} // namespace brindle
