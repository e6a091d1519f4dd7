// What a notification says, in the form that a server can show.
#pragma once

#include <QString>
#include <QStringList>

namespace brindle {

struct NotificationText {
    QString summary;
    QString body;

    /// Texts are plain and of any length; `capabilities` are the server's. A server that reads
    /// markup gets what looks like markup escaped; one that shows no bodies gets the body after the
    /// title.
    static NotificationText
    make(const QString& title, const QString& body, const QStringList& capabilities);

    friend bool operator==(const NotificationText&, const NotificationText&) = default;
};

} // namespace brindle
