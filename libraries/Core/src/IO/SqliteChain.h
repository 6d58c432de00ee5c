#pragma once

#include "Error/CaError.h"

#include <QtCore/QString>

#include <utility>

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
/// than the one at the path, and tells the user. It belongs to another one as well when it was
/// written without the chain although the file has one. Of a file that has no chain yet, as one of
/// a former release, nothing is known. Nothing happens where a program has the file open. An error
/// where it cannot be renamed: the file must not be opened then. To be called under the file's
/// OpeningLock.
CaError setForeignWalAside(const QString& path);
/// Whether it would do that.
bool isForeignWal(const QString& path);

} // namespace SqliteChain

/// Held while it is looked at what lies beside a file, until the file is open: what is renamed
/// meanwhile another program would go on using. Programs of this kind wait for one another, for 5
/// seconds; SQLite's own locks come too late for that. Where the file system knows no locks on
/// folders nobody waits.
class OpeningLock {
public:
    explicit OpeningLock(const QString& path);
    ~OpeningLock();
    OpeningLock(const OpeningLock&) = delete;
    OpeningLock& operator=(const OpeningLock&) = delete;
    /// Whether another program is still at it.
    [[nodiscard]] bool isTaken() const { return m_isTaken; }

private:
    int m_descriptor;
    bool m_isTaken = false;
};

/// That this process has the file open by SQLite, for as long as it lives. SQLite's locks tell of
/// other processes alone, and would be lost by a look at them. Any thread.
class SqliteUse {
public:
    explicit SqliteUse(const QString& path);
    ~SqliteUse();
    SqliteUse(const SqliteUse&) = delete;
    SqliteUse& operator=(const SqliteUse&) = delete;

    /// Whether this process or another one has the file open.
    static bool isInUse(const QString& path);
    /// Whether this process has.
    static bool isInUseHere(const QString& path);

private:
    std::pair<quint64, quint64> m_file; // Device and inode.
};

} // namespace vlr
