#include "IO/PrivateFile.h"
#include "IO/SqlPatientStore.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtSql/QSqlError>

#include <sys/stat.h>
#include <system_error>

namespace vlr {

namespace {

constexpr int schemaVersion = 1;

// The advisory lock on a server under which the tables are made; any number that stays the same.
constexpr int lockOfTheTables = 1668246642;

// BYTEA is PostgreSQL's name for bytes; SQLite takes any name and stores bytes as bytes.
const char* const tables[] = {
    "CREATE TABLE IF NOT EXISTS repository (version INTEGER NOT NULL)",
    "CREATE TABLE IF NOT EXISTS patient ("
    "uid TEXT PRIMARY KEY, patient_id TEXT NOT NULL UNIQUE, name TEXT NOT NULL, "
    "sex INTEGER NOT NULL, birth_date TEXT NOT NULL, changed TEXT NOT NULL, "
    "revision INTEGER NOT NULL)",
    "CREATE TABLE IF NOT EXISTS document ("
    "uid TEXT PRIMARY KEY REFERENCES patient ON DELETE CASCADE, content BYTEA NOT NULL)",
    "CREATE TABLE IF NOT EXISTS binary_part ("
    "uid TEXT NOT NULL REFERENCES patient ON DELETE CASCADE, item TEXT NOT NULL, "
    "name TEXT NOT NULL, content BYTEA NOT NULL, PRIMARY KEY (uid, item, name))",
};

} // namespace

std::unique_ptr<PatientStore> SqlPatientStore::open(const QUrl& url, CaError& error) {
    std::unique_ptr<SqlPatientStore> store(new SqlPatientStore(url));
    error = url.scheme() == QLatin1String("sqlite") ? store->openFile() : store->openServer();
    if (error != CaError::nullError)
        return nullptr;
    return store;
}

CaError SqlPatientStore::addDatabase(const QString& driver) {
    if (!QSqlDatabase::isDriverAvailable(driver))
        return failure(QStringLiteral("the database driver %1 is not installed").arg(driver));
    m_database = QSqlDatabase::addDatabase(driver, m_connection);
    return CaError::nullError;
}

CaError SqlPatientStore::openServer() {
    CaError error = addDatabase(QStringLiteral("QPSQL"));
    if (error != CaError::nullError)
        return error;
    m_database.setHostName(m_url.host());
    m_database.setPort(m_url.port());
    m_database.setUserName(m_url.userName());
    m_database.setPassword(m_url.password());
    m_database.setDatabaseName(m_url.path().mid(1));
    // A server that is gone is given up after 5 seconds: 2 for noticing it, whether something was
    // sent to it or is awaited from it, and 3 for reaching it anew.
    m_database.setConnectOptions(
        QStringLiteral("connect_timeout=3;tcp_user_timeout=2000;keepalives_idle=1;"
                       "keepalives_interval=1;keepalives_count=1"));
    if (!m_database.open())
        return failure(m_database.lastError().text());
    // A workstation that is switched off in the middle of a store keeps nobody else waiting.
    for (const char* setting :
         {"lock_timeout = 5000", "idle_in_transaction_session_timeout = 60000",
          "tcp_keepalives_idle = 5", "tcp_keepalives_interval = 5", "tcp_keepalives_count = 2"})
        if (error == CaError::nullError)
            error = run(QStringLiteral("SET ") + QLatin1String(setting));
    return error == CaError::nullError ? makeTables() : error;
}

CaError SqlPatientStore::openFile() {
    const QFileInfo file(m_url.path());
    if (!m_url.path().startsWith(QLatin1Char('/')) || !m_url.authority().isEmpty() ||
        m_url.hasQuery() || m_url.hasFragment())
        return failure(QStringLiteral("an SQLite repository is named by an absolute path, as in "
                                      "sqlite:/folder/patients.sqlite"));
    if (file.exists() && !file.isFile())
        return failure(QStringLiteral("not a regular file"));
    // SQLite takes what is shorter than the header of a database for an empty one, and patients
    // would be gone without a word.
    constexpr qint64 shortestDatabase = 512;
    if (file.size() > 0 && file.size() < shortestDatabase)
        return failure(QStringLiteral("it is cut off"));
    if (makePrivateFolder(file.path()) != 0)
        return failure(QStringLiteral("the folder cannot be created"));
    CaError error = addDatabase(QStringLiteral("QSQLITE"));
    if (error != CaError::nullError)
        return error;
    error = openFileForWriting();
    if (error == CaError::nullError)
        error = makeTables();
    if (error != CaError::nullError && file.size() > 0)
        error = openFileForReading(error);
    m_file = identity(m_url.path());
    return error;
}

CaError SqlPatientStore::openFileForWriting() {
    // SQLite itself would let everybody read a new file; those beside it get the same rights.
    if (const int number = makePrivateFile(m_url.path()))
        return failure(QString::fromStdString(std::generic_category().message(number)));
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    m_database.setDatabaseName(m_url.path());
    if (!m_database.open())
        return failure(m_database.lastError().text());
    for (const char* pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA foreign_keys=ON"}) {
        const CaError error = run(QString::fromLatin1(pragma));
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

// On a disk that is full or read-only SQLite cannot make the files it needs for its locks.
// Without them all is readable as long as nobody has left changes outside the database file.
CaError SqlPatientStore::openFileForReading(const CaError& reason) {
    m_database.close();
    for (const char* changes : {"-wal", "-journal"})
        if (QFileInfo(m_url.path() + QLatin1String(changes)).size() > 0)
            return reason;
    m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
    m_database.setDatabaseName(QStringLiteral("file:") +
                               QString::fromLatin1(QUrl::toPercentEncoding(m_url.path(), "/")) +
                               QStringLiteral("?immutable=1"));
    int version = 0;
    if (!m_database.open() || readVersion(version) != CaError::nullError ||
        version != schemaVersion)
        return reason;
    m_whyReadOnly = reason.text();
    return CaError::nullError;
}

std::optional<SqlPatientStore::FileIdentity> SqlPatientStore::identity(const QString& path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return FileIdentity(status.st_dev, status.st_ino);
}

bool SqlPatientStore::isServer() const {
    return m_database.driverName() == QLatin1String("QPSQL");
}

bool SqlPatientStore::isFileGone() const {
    return m_file && m_file != identity(m_url.path());
}

// The driver does not notice by itself that its connection has ended.
bool SqlPatientStore::isTakenAway() const {
    return isServer() ? !QSqlQuery(m_database).exec(QStringLiteral("SELECT 1")) : isFileGone();
}

// Whoever goes on writing to a file that was renamed or removed writes into nowhere.
CaError SqlPatientStore::checkWritable() const {
    if (!m_whyReadOnly.empty())
        return failure(QStringLiteral("it could be opened for reading only: ") +
                       QString::fromStdString(m_whyReadOnly));
    if (isFileGone())
        return failure(QStringLiteral("the file was renamed, replaced or removed while this "
                                      "program had it open"));
    return CaError::nullError;
}

CaError SqlPatientStore::readVersion(int& version) {
    version = 0;
    // Asking first keeps the usual start free of a write.
    if (!m_database.tables().contains(QLatin1String("repository")))
        return CaError::nullError;
    QVariantList row;
    const CaError error = firstRow(QStringLiteral("SELECT version FROM repository"), {}, row);
    version = row.value(0).toInt();
    return error;
}

CaError SqlPatientStore::makeTables() {
    int version = 0;
    const CaError readError = readVersion(version);
    if (readError != CaError::nullError || version == schemaVersion)
        return readError;
    if (version > schemaVersion)
        return failure(QStringLiteral("it was made by a newer version of this program"));
    return inTransaction([this] {
        // "IF NOT EXISTS" alone does not keep two workstations from making the same table.
        CaError error =
            isServer()
                ? run(QStringLiteral("SELECT pg_advisory_xact_lock(%1)").arg(lockOfTheTables))
                : CaError();
        for (const char* sql : tables)
            if (error == CaError::nullError)
                error = run(QString::fromLatin1(sql));
        if (error == CaError::nullError)
            error = run(QStringLiteral("INSERT INTO repository SELECT %1 WHERE NOT EXISTS "
                                       "(SELECT version FROM repository)")
                            .arg(schemaVersion));
        return error;
    });
}

} // namespace vlr
