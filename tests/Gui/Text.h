#pragma once

#include <QtCore/QString>

namespace vlrTest {

inline QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

/// The key of a setting of the application.
inline QString known(const char* name) {
    return text("Velora/Application/") + text(name);
}

} // namespace vlrTest
