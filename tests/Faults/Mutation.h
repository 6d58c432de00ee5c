#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// The bytes with one to eight random changes: bits flipped, bytes inserted, removed or copied to
/// another place, words put in that mean something to a parser. The same seed gives the same.
QByteArray mutated(const QByteArray& original, quint32 seed);

/// Makes or replaces the file, and folders above it that are missing. Throws where that fails.
void writeFile(const QString& path, const QByteArray& bytes);
