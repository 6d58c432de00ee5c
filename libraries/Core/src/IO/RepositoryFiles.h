#pragma once

#include <QtCore/QString>

namespace vlr {

/// What lies at the name of a repository in a file and beside it, before SQLite sees it: it opens
/// "<file>-wal", "<file>-shm" and "<file>-journal" without a question, waits for whoever would
/// write to a pipe, and writes to all names of a file. In a folder that several users share each of
/// them can put something there.

/// The file behind the path, whatever links lead there, also where the last one leads to what is
/// not there yet: what SQLite writes beside it lies there.
QString realFile(const QString& path);

/// Why what is there must not be opened; empty where it may. A link to it belongs to another user,
/// who is not root; it is no regular file; or what lies beside it is none, has a second name, or
/// belongs to somebody who may not write the repository itself.
QString whyNotOpened(const QString& path);

/// Takes back the second names that a restore which was killed has left (KeptRepository), as long
/// as they are no more than that. SQLite would damage what is open under two names; any other
/// second name of the file is logged at "WARNING". For a path without links, under the file's
/// OpeningLock.
void removeSecondNames(const QString& path);

} // namespace vlr
