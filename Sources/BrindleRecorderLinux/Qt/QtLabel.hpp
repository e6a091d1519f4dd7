// Words on what Qt lets people press.
#pragma once

#include <QString>

#include <string>

namespace brindle {

/// In a label of Qt an ampersand marks the key that picks it, and in a menu a tabulator begins the
/// shortcut; ours mean neither.
inline QString labelOf(const std::string& text) {
    return QString::fromStdString(text)
        .replace(QLatin1Char('&'), QLatin1String("&&"))
        .replace(QLatin1Char('\t'), QLatin1Char(' '));
}

} // namespace brindle
