#include "BrindleRecorderLinux/DBus/NotificationText.hpp"

namespace brindle {

namespace {

constexpr qsizetype longestText = 1000;

QString cut(const QString& text) {
    return text.size() <= longestText ? text : text.left(longestText - 1) + QChar{0x2026};
}

} // namespace

NotificationText
NotificationText::make(const QString& title, const QString& body, const QStringList& capabilities) {
    if (!capabilities.contains(QLatin1String("body"))) {
        return {cut(body.isEmpty() ? title : title + QLatin1Char(' ') + body), {}};
    }
    const bool readsMarkup = capabilities.contains(QLatin1String("body-markup"));
    return {cut(title), readsMarkup ? cut(body).toHtmlEscaped() : cut(body)};
}

} // namespace brindle
