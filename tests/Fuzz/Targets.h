#pragma once

#include <QtCore/QByteArray>

// Whatever bytes arrive, each of these comes back without a crash, and what is read of them holds
// together: otherwise the process is aborted. They are run by libFuzzer, which makes up the bytes,
// and on the corpus in the tests.

void fuzzXml(const QByteArray& bytes);      ///< A document of items.
void fuzzSettings(const QByteArray& bytes); ///< A settings file.
void fuzzTool(const QByteArray& bytes);     ///< A tool's geometry file.
void fuzzIgtl(const QByteArray& bytes);     ///< What an OpenIGTLink peer sends.
void fuzzImage(const QByteArray& bytes);    ///< An image file.
