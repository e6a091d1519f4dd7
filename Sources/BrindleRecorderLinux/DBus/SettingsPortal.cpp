#include "BrindleRecorderLinux/DBus/SettingsPortal.hpp"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace brindle {

namespace {

constexpr uint dark = 1;
constexpr uint reduced = 1;

QString portal() {
    return QStringLiteral("org.freedesktop.portal.Desktop");
}
QString objectPath() {
    return QStringLiteral("/org/freedesktop/portal/desktop");
}
QString interfaceName() {
    return QStringLiteral("org.freedesktop.portal.Settings");
}
QString appearance() {
    return QStringLiteral("org.freedesktop.appearance");
}
QString gnome() {
    return QStringLiteral("org.gnome.desktop.interface");
}
QString plasma() {
    return QStringLiteral("org.kde.kdeglobals.KDE");
}
QString colourScheme() {
    return QStringLiteral("color-scheme");
}
QString reducedMotion() {
    return QStringLiteral("reduced-motion");
}
QString animations() {
    return QStringLiteral("enable-animations");
}
QString animationDuration() {
    return QStringLiteral("AnimationDurationFactor");
}

/// Older portals wrap what they answer once more.
QVariant unwrapped(QVariant value) {
    for (int depth = 0; depth < 3 && value.canConvert<QDBusVariant>(); ++depth) {
        value = qvariant_cast<QDBusVariant>(value).variant();
    }
    return value;
}

} // namespace

SettingsPortal::SettingsPortal(QDBusConnection bus) : bus_{std::move(bus)} {
    // Followed first, so that nothing is missed between question and answer.
    bus_.connect(
        portal(), objectPath(), interfaceName(), QStringLiteral("SettingChanged"), this,
        SLOT(settingChanged(QDBusMessage)));
    ask(appearance(), colourScheme());
    ask(appearance(), reducedMotion());
    ask(gnome(), animations());
    ask(plasma(), animationDuration());
}

void SettingsPortal::ask(const QString& group, const QString& key) {
    auto call = QDBusMessage::createMethodCall(
        portal(), objectPath(), interfaceName(), QStringLiteral("Read"));
    call << group << key;
    auto* answer = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(
        answer, &QDBusPendingCallWatcher::finished, this,
        [this, group, key](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusMessage reply = finished->reply();
            if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
                take(group, key, unwrapped(reply.arguments().constFirst()));
            }
        });
}

void SettingsPortal::settingChanged(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (arguments.size() == 3) {
        take(arguments[0].toString(), arguments[1].toString(), unwrapped(arguments[2]));
    }
}

void SettingsPortal::take(const QString& group, const QString& key, const QVariant& value) {
    const bool wasDark = prefersDark_;
    const bool wasReduced = reducesMotion();
    if (group == appearance() && key == colourScheme()) {
        prefersDark_ = value.toUInt() == dark;
    } else if (group == appearance() && key == reducedMotion()) {
        reducedByDesktop_ = value.toUInt() == reduced;
    } else if (group == gnome() && key == animations()) {
        animationsSwitchedOff_ = value.typeId() == QMetaType::Bool && !value.toBool();
    } else if (group == plasma() && key == animationDuration()) {
        bool isNumber = false;
        animationsTakeNoTime_ = value.toString().toDouble(&isNumber) <= 0 && isNumber;
    }
    if (wasDark != prefersDark_ && onPrefersDarkChange) {
        onPrefersDarkChange();
    }
    if (wasReduced != reducesMotion() && onReducesMotionChange) {
        onReducesMotionChange();
    }
}

} // namespace brindle
