#include "Common/OwnEnvironment.h"

#include <QtCore/QDir>

QProcessEnvironment ownEnvironment(const QString& home) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The X server's key is looked for in the home folder.
    if (!environment.contains(QStringLiteral("XAUTHORITY")))
        environment.insert(QStringLiteral("XAUTHORITY"),
                           QDir::homePath() + QStringLiteral("/.Xauthority"));
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    return environment;
}
