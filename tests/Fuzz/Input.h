#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Ends the process where the claim is wrong, with a message: to a fuzzer that is a crash.
void demand(bool claim, const char* what);

/// Makes or replaces the file, and folders above it that are missing.
void writeInput(const QString& path, const QByteArray& bytes);

/// A file of this process with these bytes, for readers that want a path. The next call with the
/// name replaces it.
QString inputFile(const char* name, const QByteArray& bytes);
