#include "IO/RepositorySchema.h"

#include "IO/SqliteDatabase.h"

#include <QtCore/QMap>

namespace vlr {

namespace {

constexpr int mostEntries = 100;

CaError schemaError(const QString& reason) {
    return CaError("RepositorySchema::refused",
                   "it is no repository of patients of this program: " + reason.toStdString());
}

// As SQLite keeps it: "CREATE TABLE", and the rest as it was written.
QString asKept(QString statement) {
    return statement.replace(QLatin1String("CREATE TABLE IF NOT EXISTS "),
                             QLatin1String("CREATE TABLE "));
}

QString nameIn(const QString& statement) {
    return statement.section(QLatin1Char(' '), 5, 5);
}

QMap<QString, QString> expectedTables(const QString& more) {
    QMap<QString, QString> tables;
    for (const QString& statement : RepositorySchema::statements() + QStringList{more})
        if (!statement.isEmpty())
            tables.insert(nameIn(statement), statement);
    return tables;
}

struct Entry {
    QString type;
    QString name;
    QString sql;
};

// As SQLite makes them.
bool areStatistics(const QString& sql) {
    return sql == QLatin1String("CREATE TABLE sqlite_stat1(tbl,idx,stat)") ||
           sql == QLatin1String("CREATE TABLE sqlite_stat4(tbl,idx,neq,nlt,ndlt,sample)");
}

// What is wrong with the entry of the file's table of contents, or nothing.
QString problemOf(const Entry& entry, const QMap<QString, QString>& expected) {
    // SQLite makes these by itself, for the keys.
    if (entry.type == QLatin1String("index") &&
        entry.name.startsWith(QLatin1String("sqlite_autoindex_")) && entry.sql.isEmpty())
        return {};
    // Whoever tends the file may have had statistics of it made. They are not read.
    if (entry.type == QLatin1String("table") && areStatistics(entry.sql))
        return {};
    if (entry.name == nameIn(RepositorySchema::backupStatement()) && !expected.contains(entry.name))
        return QStringLiteral("it is a backup, which has to be restored first");
    const QString what = entry.type + QStringLiteral(" \"") + entry.name + QLatin1Char('"');
    if (entry.type != QLatin1String("table") || !expected.contains(entry.name))
        return QStringLiteral("it holds the ") + what;
    return RepositorySchema::isKept(entry.sql, expected.value(entry.name))
               ? QString()
               : QStringLiteral("its ") + what + QStringLiteral(" is another one");
}

CaError readVersion(SqliteDatabase& database, int& version) {
    qint64 number = -1;
    const CaError error =
        database.rows("SELECT version FROM repository LIMIT 1", [&](const SqliteRow& row) {
            if (row.kind(0) == 'i')
                number = row.number(0);
            return true;
        });
    if (error != CaError::nullError)
        return error;
    if (number < 1 || number > 1000000)
        return schemaError(QStringLiteral("it does not say of which version it is"));
    version = static_cast<int>(number);
    if (version > RepositorySchema::version)
        return CaError("RepositorySchema::newer",
                       "it was made by a newer version of this program: it has the version " +
                           std::to_string(version) +
                           ", and the newest that is understood here is " +
                           std::to_string(RepositorySchema::version));
    return CaError::nullError;
}

} // namespace

const QStringList& RepositorySchema::statements() {
    // BYTEA is PostgreSQL's name for bytes; SQLite takes any name and stores bytes as bytes.
    static const QStringList all{
        QStringLiteral("CREATE TABLE IF NOT EXISTS repository (version INTEGER NOT NULL)"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS patient ("
                       "uid TEXT PRIMARY KEY, patient_id TEXT NOT NULL UNIQUE, "
                       "name TEXT NOT NULL, sex INTEGER NOT NULL, birth_date TEXT NOT NULL, "
                       "changed TEXT NOT NULL, revision INTEGER NOT NULL)"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS document ("
                       "uid TEXT PRIMARY KEY REFERENCES patient ON DELETE CASCADE, "
                       "content BYTEA NOT NULL)"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS binary_part ("
                       "uid TEXT NOT NULL REFERENCES patient ON DELETE CASCADE, "
                       "item TEXT NOT NULL, name TEXT NOT NULL, content BYTEA NOT NULL, "
                       "PRIMARY KEY (uid, item, name))"),
    };
    return all;
}

const QString& RepositorySchema::chainStatement() {
    static const QString statement = QStringLiteral(
        "CREATE TABLE IF NOT EXISTS chain (previous INTEGER NOT NULL, current INTEGER NOT NULL)");
    return statement;
}

const QString& RepositorySchema::backupStatement() {
    static const QString statement =
        QStringLiteral("CREATE TABLE IF NOT EXISTS backup ("
                       "made TEXT NOT NULL, patients INTEGER NOT NULL, checksum TEXT NOT NULL)");
    return statement;
}

bool RepositorySchema::isKept(const QString& sql, const QString& statement) {
    return sql.simplified() == asKept(statement);
}

CaError RepositorySchema::check(SqliteDatabase& database, int& fileVersion, const QString& more) {
    fileVersion = 0;
    QMap<QString, QString> expected = expectedTables(more);
    expected.insert(nameIn(chainStatement()), chainStatement());
    QString problem;
    bool hasRepository = false;
    int count = 0;
    // A newer version may consist of other tables, and says its number.
    CaError error = database.rows(
        "SELECT type, name, coalesce(sql, '') FROM sqlite_master", [&](const SqliteRow& row) {
            const Entry entry{row.text(0), row.text(1), row.text(2)};
            const QString wrong = ++count > mostEntries ? QStringLiteral("it holds too many tables")
                                                        : problemOf(entry, expected);
            hasRepository = hasRepository || (entry.type == QLatin1String("table") &&
                                              entry.name == QLatin1String("repository"));
            if (problem.isEmpty())
                problem = wrong;
            if (wrong.isEmpty())
                expected.remove(entry.name);
            return count <= mostEntries;
        });
    if (error != CaError::nullError || count == 0)
        return error;
    if (hasRepository)
        error = readVersion(database, fileVersion);
    if (error != CaError::nullError)
        return error;
    expected.remove(nameIn(chainStatement())); // Files of earlier releases have none.
    if (problem.isEmpty() && !expected.isEmpty())
        problem = QStringLiteral("it lacks the table \"%1\"").arg(expected.firstKey());
    return problem.isEmpty() ? CaError::nullError : schemaError(problem);
}

} // namespace vlr
