#pragma once

#include <QtCore/QByteArray>

/// The bytes with one to eight random changes: bits flipped, bytes inserted, removed or copied to
/// another place, words put in that mean something to a parser. The same seed gives the same.
QByteArray mutated(const QByteArray& original, quint32 seed);
