#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vlr {

/// What is known of the build of this library. The build time is empty where the library was
/// built without version information.
struct VersionInformation {
    QString buildTime; ///< Date and time of the last change that was compiled in, UTC.
    QString version;
    QString revision;  ///< Of the source; "unknown" where it was not under version control.
    QString buildKey;  ///< Compiler and configuration.
    QString qtVersion; ///< That it was compiled with.
    QStringList libraries;
};

VLR_GUI_EXPORT VersionInformation versionInformation();

} // namespace vlr
