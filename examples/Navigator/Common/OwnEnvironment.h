#pragma once

#include <QtCore/QProcess>

/// The environment of a process that shall not touch the user's data: every folder that it writes
/// to lies below `home`.
QProcessEnvironment ownEnvironment(const QString& home);
