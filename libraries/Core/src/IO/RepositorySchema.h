#pragma once

#include "Error/CaError.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vlr {

class SqliteDatabase;

/// What a repository of patients consists of, on every kind of database.
struct RepositorySchema {
    static constexpr int version = 1;

    /// The statements that make the tables which are missing.
    static const QStringList& statements();
    /// That of the table in which a file keeps its chain of changes; see SqliteChain.
    static const QString& chainStatement();
    /// Whether the file's table of contents has the statement for the table as SQLite keeps it. A
    /// table may compute what it gives, so that one with the right name and columns is not enough.
    static bool isKept(const QString& sql, const QString& statement);

    /// Says by an error what is in the file that a repository does not consist of, or what it
    /// lacks: somebody's view in place of a table, a trigger, a table with other columns. An empty
    /// file is in order. `fileVersion` is the one that the file gives itself, 0 for an empty one.
    /// One of a newer version is an error that names both. `more` is the statement of one more
    /// table that may be there.
    static CaError check(SqliteDatabase& database, int& fileVersion, const QString& more = {});
    /// That of the table that makes a file a backup.
    static const QString& backupStatement();
};

} // namespace vlr
