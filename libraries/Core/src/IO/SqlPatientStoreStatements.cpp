// How a statement is run: within limits, within a transaction, and with the reason of a failure.

#include "IO/SqlPatientStore.h"

#include <QtCore/QVariant>
#include <QtSql/QSqlError>
#include <QtSql/QSqlRecord>

#include <algorithm>
#include <limits>
#include <new>
#include <sqlite3.h>

namespace vlr {

namespace {

// Far more than a repository has, and what a listing may cost at the most.
constexpr int mostRows = 1000000;
constexpr qint64 mostBytes = qint64(256) << 20;

qint64 sizeOf(const QSqlQuery& row, int columns) {
    qint64 bytes = 0;
    for (int i = 0; i < columns; ++i) {
        const QVariant value = row.value(i);
        bytes += value.type() == QVariant::ByteArray ? value.toByteArray().size()
                                                     : 2 * qint64(value.toString().size());
    }
    return bytes;
}

} // namespace

CaError SqlPatientStore::failure(const QString& reason) const {
    // Of a connection that was ended here the driver knows no more than that it has ended.
    const QString cause = m_guard ? m_guard->reason() : QString();
    return CaError("PatientStore::failed",
                   "Patient repository \"" + ServerAddress::shown(m_text).toStdString() +
                       "\": " + (cause.isEmpty() ? reason : cause).simplified().toStdString());
}

SqlPatientStore::ValueLimit::ValueLimit(const SqlPatientStore& store, qint64 bytes)
    : m_file(store.m_handle) {
    if (m_file)
        m_former = sqlite3_limit(
            m_file, SQLITE_LIMIT_LENGTH,
            static_cast<int>(std::min<qint64>(bytes, std::numeric_limits<int>::max())));
}

SqlPatientStore::ValueLimit::~ValueLimit() {
    if (m_file)
        sqlite3_limit(m_file, SQLITE_LIMIT_LENGTH, m_former);
}

CaError SqlPatientStore::lackOfMemory() const {
    return failure(QStringLiteral("there is not enough memory for it"));
}

// A full disk shows itself at prepare(); exec() would then speak of a parameter count. PostgreSQL
// prepares neither transactions nor tables, so what has no values is run as it stands.
CaError SqlPatientStore::query(const QString& sql, const QVariantList& values, QSqlQuery& query) {
    if (!m_database.isOpen())
        return failure(QStringLiteral("it is closed"));
    query = QSqlQuery(m_database);
    query.setForwardOnly(true);
    if (values.isEmpty())
        return query.exec(sql) ? CaError::nullError : failure(query.lastError().text());
    if (!query.prepare(sql))
        return failure(query.lastError().text());
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        return failure(query.lastError().text());
    return CaError::nullError;
}

// The drivers throw where a value finds no memory, which must not get past the store.
CaError SqlPatientStore::run(const QString& sql, const QVariantList& values, int* changedRows) {
    try {
        const ServerGuard::Watch watch(m_guard.get(), ServerGuard::few);
        QSqlQuery statement(m_database);
        const CaError error = query(sql, values, statement);
        if (changedRows)
            *changedRows = statement.numRowsAffected();
        return error;
    } catch (const std::bad_alloc&) {
        return lackOfMemory();
    }
}

CaError SqlPatientStore::rows(const QString& sql, const QVariantList& values,
                              const std::function<void(const QSqlQuery&)>& takeRow,
                              qint64 largestRow) {
    try {
        // What is not text comes as text, at most four characters a byte.
        const ServerGuard::Watch watch(m_guard.get(), mostBytes + 4 * largestRow);
        QSqlQuery row(m_database);
        const CaError error = query(sql, values, row);
        if (error != CaError::nullError)
            return error;
        int count = 0;
        qint64 bytes = 0;
        int columns = 0; // Asked once: the driver describes all of them anew each time.
        while (row.next()) {
            if (count == 0)
                columns = row.record().count();
            const qint64 size = sizeOf(row, columns);
            bytes += size;
            if (size > largestRow)
                return giveUp(QStringLiteral("a row has more than %1 bytes").arg(largestRow));
            // A single one has that limit of its own.
            if (++count > mostRows || (count > 1 && bytes > mostBytes))
                return giveUp(QStringLiteral("the answer is too long: it has more than %1 rows or "
                                             "%2 bytes")
                                  .arg(mostRows)
                                  .arg(mostBytes));
            takeRow(row);
        }
        // There may be more that could not be read.
        return row.lastError().isValid() ? failure(row.lastError().text()) : CaError::nullError;
    } catch (const std::bad_alloc&) {
        return lackOfMemory();
    }
}

// The driver would read the rest of the answer to its end.
CaError SqlPatientStore::giveUp(const QString& reason) {
    if (m_guard)
        m_guard->cut(reason);
    return failure(reason);
}

CaError SqlPatientStore::firstRow(const QString& sql, const QVariantList& values, QVariantList& row,
                                  qint64 largestRow) {
    row.clear();
    const auto take = [&](const QSqlQuery& answer) {
        for (int i = 0; row.size() <= i && i < answer.record().count(); ++i)
            row << answer.value(i);
    };
    return rows(sql, values, take, largestRow);
}

CaError SqlPatientStore::inTransaction(const std::function<CaError()>& work, const bool& isIdle) {
    CaError error = checkWritable();
    if (error != CaError::nullError)
        return error;
    // What is read here decides what is written, so SQLite must take the write lock first.
    error = run(isServer() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE"));
    if (error != CaError::nullError)
        return error;
    m_isInTransaction = true;
    try {
        error = work();
    } catch (const std::bad_alloc&) {
        error = lackOfMemory();
    }
    m_isInTransaction = false;
    if (error == CaError::nullError && !isIdle && !isServer())
        error = run(QLatin1String(SqliteChain::advance));
    if (error == CaError::nullError && !isIdle)
        error = run(QStringLiteral("COMMIT"));
    if (error != CaError::nullError || isIdle)
        (void)run(QStringLiteral("ROLLBACK"));
    return error;
}

} // namespace vlr
