#pragma once

#include "Error/CaError.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace vlr {

/// One row of an answer.
class SqliteRow {
public:
    explicit SqliteRow(sqlite3_stmt* statement) : m_statement(statement) {}
    [[nodiscard]] int columns() const;
    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] qint64 number(int column) const;
    /// The bytes of a text or a blob, whole, with the NULs in it. They are valid until the next
    /// row.
    [[nodiscard]] QByteArray bytes(int column) const;
    [[nodiscard]] QString text(int column) const;
    /// What kind of value the file holds there, whatever the table declares; a letter.
    [[nodiscard]] char kind(int column) const;

private:
    sqlite3_stmt* m_statement;
};

/// A database file, opened with SQLite's own interface, for what Qt's driver has no words for:
/// limits, copies, and looking at a file that nobody vouches for. One thread at a time.
///
///     std::unique_ptr<SqliteDatabase> database;
///     CaError error = SqliteDatabase::open(path, SqliteDatabase::Mode::AsItLies, database);
///     if (error.isNull())
///         error = database->rows("SELECT name FROM sqlite_master", [&](const SqliteRow& row) {
///             names << row.text(0);
///             return true; // false: that is enough
///         });
class SqliteDatabase {
public:
    enum class Mode {
        AsItLies, ///< To read, without locks and without what lies beside the file.
        Reading,  ///< To read, with locks; others may write meanwhile.
        Writing,  ///< A file that exists.
    };
    static CaError open(const QString& path, Mode mode, std::unique_ptr<SqliteDatabase>& database);
    /// One that somebody else has open and will close.
    explicit SqliteDatabase(sqlite3* handle, QString name);
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    /// The ends of the names of what SQLite keeps beside a file.
    static constexpr const char* filesBeside[] = {"-wal", "-shm", "-journal"};

    CaError run(const char* sql);
    CaError rows(const char* sql, const std::function<bool(const SqliteRow&)>& take);
    /// Takes from the file what it might do by itself: its triggers and views do nothing, its
    /// internal tables cannot be got to by SQL, and no statistics of it are read, which SQLite
    /// would ask for when it reads the table of contents.
    void distrust();
    /// For a file under a SqliteLook, before anything is asked: what is needed to read it is kept
    /// in memory, and closing it changes nothing.
    CaError lookOnly();

    /// Copies all of it as it is at one moment into the other one, which is empty. `isWanted` is
    /// asked every now and then, with the share that is done, from 0 to 1.
    CaError copyTo(SqliteDatabase& target, const std::function<bool(double)>& isWanted);

    /// The id of the error that copyTo() gives when the copy is wanted no more, and of that of a
    /// statement that a SqliteBounds has ended.
    static const char* const cancelledError;
    /// That of the error of every operation for which somebody else has the file locked.
    static const char* const lockedError;
    /// That of the error of a file that cannot be understood.
    static const char* const damagedError;

private:
    friend class SqliteBounds;
    [[nodiscard]] CaError failure() const;

    sqlite3* m_handle;
    QString m_name;
    bool m_isOwner;
};

/// While it lives, the database neither reads nor makes a value of more bytes, and a statement ends
/// with SqliteDatabase::cancelledError once this thread has computed for so long or `isWanted` says
/// no. It is for a file of which it is not known yet what it consists of. One of them at a time,
/// and the database outlives it.
///
///     file.distrust();
///     const SqliteBounds bounds(file);
///     CaError error = RepositorySchema::check(file, version);
class SqliteBounds {
public:
    /// No entry in the table of contents of a database file of this program is longer.
    static constexpr int longestEntry = 64 << 10;
    /// A thousand times what a table of contents of this program takes.
    static constexpr std::chrono::nanoseconds usualTime = std::chrono::seconds(2);

    explicit SqliteBounds(SqliteDatabase& database, std::function<bool()> isWanted = {},
                          int bytes = longestEntry, std::chrono::nanoseconds time = usualTime);
    ~SqliteBounds();
    SqliteBounds(const SqliteBounds&) = delete;
    SqliteBounds& operator=(const SqliteBounds&) = delete;

private:
    static int isOver(void* bounds);

    sqlite3* m_handle;
    std::function<bool()> m_isWanted;
    int m_formerBytes;
    std::chrono::nanoseconds m_end; // On the clock of this thread's computing.
};

} // namespace vlr
