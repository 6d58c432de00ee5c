#pragma once

#include <QtCore/QString>

/// What --backup and --restore do, without a display: the summary goes to standard output, progress
/// to standard error where that is a terminal. The exit code: 0, or 1 with the reason on standard
/// error.
int runBackup(int argc, char** argv, const QString& backup);
int runRestore(int argc, char** argv, const QString& backup);
