// How the user wants things to look and move, from the desktop's settings portal
// (org.freedesktop.portal.Settings).
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>

namespace brindle {

/// Main thread only. The portal is asked once, without waiting, and followed from then on; until it
/// has answered, and where there is none, nothing is dark and everything moves.
class SettingsPortal final : public QObject {
    Q_OBJECT

  public:
    explicit SettingsPortal(QDBusConnection bus);

    [[nodiscard]] bool prefersDark() const { return prefersDark_; }
    /// What any of the known settings says: the portal's own, GNOME's or Plasma's.
    [[nodiscard]] bool reducesMotion() const {
        return reducedByDesktop_ || animationsSwitchedOff_ || animationsTakeNoTime_;
    }

    /// Called after either has changed.
    std::function<void()> onPrefersDarkChange;
    std::function<void()> onReducesMotionChange;

  private Q_SLOTS:
    void settingChanged(const QDBusMessage& message);

  private:
    void ask(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection bus_;
    bool prefersDark_ = false;
    bool reducedByDesktop_ = false;
    bool animationsSwitchedOff_ = false;
    bool animationsTakeNoTime_ = false;
};

} // namespace brindle
