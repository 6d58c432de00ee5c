#pragma once

#include <QtCore/QString>

namespace vlr {

/// What this library makes is nobody's business but the user's. These neither log nor touch what
/// is there already; they return the system's error number, or 0.

/// Makes the folder and those above it where they are missing, with mode 0700.
int makePrivateFolder(const QString& path);

/// Makes an empty file with mode 0600 where there is none. EINVAL for what exists but is no
/// regular file.
int makePrivateFile(const QString& path);

} // namespace vlr
