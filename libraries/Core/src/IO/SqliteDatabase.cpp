#include "IO/SqliteDatabase.h"

#include <QtCore/QFile>
#include <QtCore/QUrl>

#include <algorithm>
#include <ctime>
#include <sqlite3.h>
#include <utility>

namespace vlr {

const char* const SqliteDatabase::cancelledError = "SqliteDatabase::cancelled";
const char* const SqliteDatabase::lockedError = "SqliteDatabase::locked";
const char* const SqliteDatabase::damagedError = "SqliteDatabase::damaged";

namespace {

constexpr int patience = 5000; // milliseconds
constexpr int pagesAtOnce = 256;
constexpr int stepsAtOnce = 1000; // Less than a millisecond.

CaError databaseError(const QString& name, const std::string& reason,
                      const char* id = "SqliteDatabase::failed") {
    return CaError(id, '"' + name.toStdString() + "\": " + reason + '.');
}

// Whatever a file holds as statistics, SQLite would run it.
int forbidStatistics(void* /*unused*/, int action, const char* table, const char* /*column*/,
                     const char* /*database*/, const char* /*view*/) {
    const bool isAboutThem =
        action == SQLITE_READ && table && sqlite3_strnicmp(table, "sqlite_stat", 11) == 0;
    return isAboutThem ? SQLITE_DENY : SQLITE_OK;
}

std::chrono::nanoseconds computed() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

int SqliteRow::columns() const {
    return sqlite3_column_count(m_statement);
}

bool SqliteRow::isNull(int column) const {
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

qint64 SqliteRow::number(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

QByteArray SqliteRow::bytes(int column) const {
    const void* bytes = sqlite3_column_blob(m_statement, column);
    return QByteArray::fromRawData(static_cast<const char*>(bytes),
                                   sqlite3_column_bytes(m_statement, column));
}

QString SqliteRow::text(int column) const {
    const QByteArray all = bytes(column); // By itself it would end at the first NUL.
    return QString::fromUtf8(all.constData(), all.size());
}

char SqliteRow::kind(int column) const {
    switch (sqlite3_column_type(m_statement, column)) {
    case SQLITE_INTEGER:
        return 'i';
    case SQLITE_FLOAT:
        return 'f';
    case SQLITE_TEXT:
        return 't';
    case SQLITE_BLOB:
        return 'b';
    default:
        return 'n';
    }
}

SqliteDatabase::SqliteDatabase(sqlite3* handle, QString name)
    : m_handle(handle), m_name(std::move(name)), m_isOwner(false) {}

SqliteDatabase::~SqliteDatabase() {
    if (m_isOwner)
        sqlite3_close(m_handle);
}

CaError SqliteDatabase::open(const QString& path, Mode mode,
                             std::unique_ptr<SqliteDatabase>& database) {
    QByteArray name = "file:" + QUrl::toPercentEncoding(path, "/");
    if (mode == Mode::AsItLies)
        name += "?immutable=1";
    const int flags = mode == Mode::Writing ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(name.constData(), &handle,
                                     flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<SqliteDatabase> opened(new SqliteDatabase(handle, path));
    opened->m_isOwner = true;
    if (code != SQLITE_OK)
        return handle ? opened->failure() : databaseError(path, "there is not enough memory");
    sqlite3_busy_timeout(handle, patience);
    sqlite3_extended_result_codes(handle, 1);
    database = std::move(opened);
    return CaError::nullError;
}

CaError SqliteDatabase::failure() const {
    const int code = sqlite3_errcode(m_handle) & 0xff;
    const char* const text = sqlite3_errmsg(m_handle);
    if (code == SQLITE_BUSY || code == SQLITE_LOCKED)
        return databaseError(m_name, text, lockedError);
    if (code == SQLITE_INTERRUPT)
        return databaseError(m_name, "it takes too long to be understood, or was interrupted",
                             cancelledError);
    if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB)
        return databaseError(m_name, text, damagedError);
    return databaseError(m_name, text);
}

CaError SqliteDatabase::run(const char* sql) {
    return rows(sql, [](const SqliteRow&) { return true; });
}

CaError SqliteDatabase::rows(const char* sql, const std::function<bool(const SqliteRow&)>& take) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_handle, sql, -1, &statement, nullptr) != SQLITE_OK)
        return failure();
    // Also where there is not enough memory for a row.
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(statement,
                                                                           &sqlite3_finalize);
    int code = sqlite3_step(statement);
    while (code == SQLITE_ROW && take(SqliteRow(statement)))
        code = sqlite3_step(statement);
    return code == SQLITE_ROW || code == SQLITE_DONE ? CaError() : failure();
}

void SqliteDatabase::distrust() {
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_set_authorizer(m_handle, &forbidStatistics, nullptr);
}

CaError SqliteDatabase::lookOnly() {
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    return run("PRAGMA locking_mode=EXCLUSIVE");
}

CaError SqliteDatabase::copyTo(SqliteDatabase& target,
                               const std::function<bool(double)>& isWanted) {
    sqlite3_backup* const copy = sqlite3_backup_init(target.m_handle, "main", m_handle, "main");
    if (!copy)
        return target.failure();
    int code = SQLITE_OK;
    bool isGoingOn = true;
    while (isGoingOn && code == SQLITE_OK) {
        code = sqlite3_backup_step(copy, pagesAtOnce);
        const double all = std::max(1, sqlite3_backup_pagecount(copy));
        isGoingOn = isWanted(1 - sqlite3_backup_remaining(copy) / all);
    }
    const int result = sqlite3_backup_finish(copy);
    if (code == SQLITE_DONE)
        return CaError::nullError;
    if (code == SQLITE_OK)
        return CaError(cancelledError, "The copy was cancelled.");
    return result == SQLITE_OK ? databaseError(m_name, sqlite3_errstr(code)) : target.failure();
}

SqliteBounds::SqliteBounds(SqliteDatabase& database, std::function<bool()> isWanted, int bytes,
                           std::chrono::nanoseconds time)
    : m_handle(database.m_handle), m_isWanted(std::move(isWanted)),
      m_formerBytes(sqlite3_limit(m_handle, SQLITE_LIMIT_LENGTH, bytes)), m_end(computed() + time) {
    sqlite3_progress_handler(m_handle, stepsAtOnce, &isOver, this);
}

SqliteBounds::~SqliteBounds() {
    sqlite3_progress_handler(m_handle, 0, nullptr, nullptr);
    sqlite3_limit(m_handle, SQLITE_LIMIT_LENGTH, m_formerBytes);
}

int SqliteBounds::isOver(void* bounds) {
    const auto* const own = static_cast<const SqliteBounds*>(bounds);
    return computed() > own->m_end || (own->m_isWanted && !own->m_isWanted()) ? 1 : 0;
}

} // namespace vlr
