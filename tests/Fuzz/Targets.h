#pragma once

#include <QtCore/QByteArray>

// Whatever bytes arrive, each of these comes back without a crash, and what is read of them holds
// together: otherwise the process is aborted. They are run by libFuzzer, which makes up the bytes,
// and on the corpus, cut and changed, in the tests. The answer is what was read, in some form, and
// empty where that is nothing.

QByteArray fuzzXml(const QByteArray& bytes);       ///< A document of items.
QByteArray fuzzSettings(const QByteArray& bytes);  ///< A settings file.
QByteArray fuzzTool(const QByteArray& bytes);      ///< A tool's geometry file.
QByteArray fuzzRecording(const QByteArray& bytes); ///< A recording of a tracker.
QByteArray fuzzIgtl(const QByteArray& bytes);      ///< What an OpenIGTLink peer sends.
QByteArray fuzzImage(const QByteArray& bytes);     ///< An image file.

// The same for what needs a whole file of its writer's to begin with.

QByteArray fuzzConfiguration(const QByteArray& bytes);
QByteArray fuzzPatients(const QByteArray& bytes); ///< A repository in a file.
