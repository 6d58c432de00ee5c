#pragma once

#include "Error/CaError.h"

#include <QtCore/QString>

namespace vlr {

/// The changes of a repository in a file form a chain: every transaction that stores writes the
/// number of the one before it and a new one of its own into the table "chain". SQLite keeps recent
/// transactions beside the file, in "<file>-wal", and whoever opens the file next has them applied
/// to it, whatever the file is by then. The chain tells whether they belong to it: what lies in the
/// file is the state right before the first of them or, after a checkpoint that was cut off, the
/// one behind any of them. A file that was put in place of another is at another point.
namespace SqliteChain {

/// The statement that makes the next link; to be run in every transaction that stores.
extern const char* const advance;
/// The one that makes the first link, where there is none.
extern const char* const begin;

/// Renames "<path>-wal" to "<path>-wal.foreign-<date and time>" when it belongs to another file
/// than the one at the path, and logs a "WARNING". Nothing happens where another process has the
/// file open; nobody in this process may. An error where it cannot be renamed: the file must not
/// be opened then.
CaError setForeignWalAside(const QString& path);

} // namespace SqliteChain
} // namespace vlr
