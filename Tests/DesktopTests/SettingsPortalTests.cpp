#include "BrindleRecorderLinux/DBus/SettingsPortal.hpp"

#include "DesktopTests/Bus.hpp"

#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>
#include <gtest/gtest.h>

#include <optional>
#include <utility>

namespace brindle {
namespace {

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString plasma = QStringLiteral("org.kde.kdeglobals.KDE");
const QString colourScheme = QStringLiteral("color-scheme");
const QString reducedMotion = QStringLiteral("reduced-motion");
const QString animations = QStringLiteral("enable-animations");
const QString duration = QStringLiteral("AnimationDurationFactor");

/// A settings portal with the settings that a test gives it.
class Portal final : public QDBusVirtualObject {
  public:
    using Key = std::pair<QString, QString>;

    explicit Portal(QMap<Key, QVariant> settings) : settings_{std::move(settings)} {
        client_.bus().registerVirtualObject(
            QStringLiteral("/org/freedesktop/portal/desktop"), this);
        client_.bus().registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    ~Portal() override {
        takeFromBus(client_.bus(), QStringLiteral("/org/freedesktop/portal/desktop"), *this);
    }
    Portal(const Portal&) = delete;
    Portal& operator=(const Portal&) = delete;
    int questions = 0;

    void change(const QString& group, const QString& key, const QVariant& value) {
        auto message = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        message << group << key << QVariant::fromValue(QDBusVariant{value});
        client_.bus().send(message);
    }
    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        ++questions;
        const Key key{
            message.arguments().value(0).toString(), message.arguments().value(1).toString()};
        // "Read" wraps its answer twice, as the real portals do.
        const bool answered =
            settings_.contains(key)
                ? connection.send(message.createReply(QVariant::fromValue(
                      QDBusVariant{QVariant::fromValue(QDBusVariant{settings_.value(key)})})))
                : connection.send(message.createErrorReply(
                      QStringLiteral("org.freedesktop.portal.Error.NotFound"), QString{}));
        return answered;
    }

  private:
    BusClient client_;
    QMap<Key, QVariant> settings_;
};

class SettingsPortalTest : public testing::Test {
  protected:
    void start(const QMap<Portal::Key, QVariant>& settings) {
        portal_.emplace(settings);
        settings_.emplace(program_.bus());
        settings_->onPrefersDarkChange = [this] {
            ++changesOfLook_;
        };
        settings_->onReducesMotionChange = [this] {
            ++changesOfMotion_;
        };
        EXPECT_TRUE(waitUntil([&] { return portal_->questions == 4; }));
        settle(program_.bus());
        settle(program_.bus());
    }

    BusClient program_;
    std::optional<Portal> portal_;
    std::optional<SettingsPortal> settings_;
    int changesOfLook_ = 0;
    int changesOfMotion_ = 0;
};

TEST_F(SettingsPortalTest, WithoutAPortalNothingIsDarkAndEverythingMoves) {
    const SettingsPortal settings{program_.bus()};
    settle(program_.bus());
    EXPECT_FALSE(settings.prefersDark());
    EXPECT_FALSE(settings.reducesMotion());
}

TEST_F(SettingsPortalTest, ReadsTheColourSchemeAndFollowsIt) {
    start({{{appearance, colourScheme}, 1U}});
    EXPECT_TRUE(waitUntil([&] { return settings_->prefersDark(); }));
    EXPECT_EQ(changesOfLook_, 1);
    portal_->change(appearance, colourScheme, 2U);
    EXPECT_TRUE(waitUntil([&] { return !settings_->prefersDark(); }));
    portal_->change(appearance, colourScheme, 0U);
    portal_->change(appearance, QStringLiteral("accent-color"), 1U);
    settle(program_.bus());
    EXPECT_FALSE(settings_->prefersDark());
    EXPECT_EQ(changesOfLook_, 2);
}

TEST_F(SettingsPortalTest, EveryDesktopsWordForLessMotionCounts) {
    start({});
    const std::tuple<QString, QString, QVariant, QVariant> words[] = {
        {appearance, reducedMotion, 1U, 0U},
        {gnome, animations, false, true},
        {plasma, duration, QStringLiteral("0"), QStringLiteral("1")}};
    int changes = 0;
    for (const auto& [group, key, reduced, moving] : words) {
        portal_->change(group, key, reduced);
        EXPECT_TRUE(waitUntil([&] { return settings_->reducesMotion(); })) << key.toStdString();
        portal_->change(group, key, moving);
        EXPECT_TRUE(waitUntil([&] { return !settings_->reducesMotion(); })) << key.toStdString();
        changes += 2;
    }
    EXPECT_EQ(changesOfMotion_, changes);
}

TEST_F(SettingsPortalTest, OnlyThePortalSaysWhatHasChanged) {
    start({});
    const BusClient liar;
    const ForgedSignal changed{
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged")};
    const QVariantList dark{appearance, colourScheme, QVariant::fromValue(QDBusVariant{1U})};
    forge(liar, program_.bus(), changed, dark);
    EXPECT_FALSE(settings_->prefersDark());
    // Nor does it become the portal by saying so.
    forge(
        liar, program_.bus(), ForgedSignal::nameOwnerChanged(),
        {QStringLiteral("org.freedesktop.portal.Desktop"), QString{}, liar.bus().baseService()});
    forge(liar, program_.bus(), changed, dark);
    EXPECT_FALSE(settings_->prefersDark());
    portal_->change(appearance, colourScheme, 1U);
    EXPECT_TRUE(waitUntil([&] { return settings_->prefersDark(); }));
}

TEST_F(SettingsPortalTest, WithoutAPortalNobodySpeaksForIt) {
    const SettingsPortal settings{program_.bus()};
    settle(program_.bus());
    const BusClient liar;
    forge(
        liar, program_.bus(),
        {QStringLiteral("/org/freedesktop/portal/desktop"),
         QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged")},
        {appearance, colourScheme, QVariant::fromValue(QDBusVariant{1U})});
    EXPECT_FALSE(settings.prefersDark());
}

TEST_F(SettingsPortalTest, NonsenseChangesNothing) {
    start({{{gnome, animations}, QStringLiteral("off")}, {{plasma, duration}, QStringLiteral("")}});
    portal_->change(appearance, colourScheme, QStringLiteral("black"));
    settle(program_.bus());
    EXPECT_FALSE(settings_->prefersDark());
    EXPECT_FALSE(settings_->reducesMotion());
}

} // namespace
} // namespace brindle
