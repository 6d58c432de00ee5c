#include "IO/PatientFile.h"
#include "IO/PrivateFile.h"
#include "IO/RepositorySchema.h"
#include "IO/SqlPatientStore.h"
#include "IO/SqliteChain.h"
#include "IO/SqliteDatabase.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtSql/QSqlDriver>
#include <QtSql/QSqlError>

#include <sqlite3.h>
#include <sys/stat.h>
#include <system_error>

namespace vlr {

namespace {

// The advisory lock on a server under which the tables are made; any number that stays the same.
constexpr int lockOfTheTables = 1668246642;

// No entry in the table of contents of a database file of this program is longer.
constexpr qint64 longestEntry = 64 << 10;

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
    if (makePatientFolder(file.path()) != 0)
        return failure(QStringLiteral("the folder cannot be created"));
    CaError error = addDatabase(QStringLiteral("QSQLITE"));
    if (error != CaError::nullError)
        return error;
    error = openFileForWriting();
    if (error == CaError::nullError)
        error = makeTables();
    if (error == CaError::nullError)
        error = beginChain();
    if (error != CaError::nullError && file.size() > 0)
        error = openFileForReading(error);
    m_file = identity(m_url.path());
    limitFiles();
    return error;
}

// SQLite gives what it makes beside the file the rights of the file, but not its group.
void SqlPatientStore::limitFiles() const {
    for (const char* file : {"", "-wal", "-shm", "-journal"})
        limitPatientFile(m_url.path() + QLatin1String(file));
}

CaError SqlPatientStore::openFileForWriting() {
    // SQLite itself would let everybody read a new file; those beside it get the same rights.
    if (const int number = makePrivateFile(m_url.path()))
        return failure(QString::fromStdString(std::generic_category().message(number)));
    // SQLite's locks tell of other processes alone.
    CaError error = openFiles().contains(m_url.path())
                        ? CaError()
                        : SqliteChain::setForeignWalAside(m_url.path());
    openFiles() << m_url.path();
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    m_database.setDatabaseName(m_url.path());
    if (!m_database.open())
        return failure(m_database.lastError().text());
    error = checkFile();
    if (error != CaError::nullError)
        return error;
    for (const char* pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA foreign_keys=ON"}) {
        error = run(QString::fromLatin1(pragma));
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

// The file may be anybody's: nothing in it is asked before it is known what it consists of.
CaError SqlPatientStore::checkFile() {
    m_handle = fileHandle();
    if (!m_handle)
        return failure(QStringLiteral("the database driver brings an SQLite of its own"));
    SqliteDatabase file(m_handle, m_url.path());
    file.distrust();
    const ValueLimit limit(*this, longestEntry);
    int version = 0;
    const CaError error = RepositorySchema::check(file, version);
    return error == CaError::nullError ? error : failure(QString::fromStdString(error.text()));
}

// The driver's, where it uses the library that this one is linked to.
sqlite3* SqlPatientStore::fileHandle() {
    const QVariant handle = m_database.driver()->handle();
    if (isServer() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    QVariantList source;
    if (firstRow(QStringLiteral("SELECT sqlite_source_id()"), {}, source) != CaError::nullError ||
        source.value(0).toString() != QLatin1String(sqlite3_sourceid()))
        return nullptr;
    return *static_cast<sqlite3* const*>(handle.constData());
}

// Files of former releases have none.
CaError SqlPatientStore::beginChain() {
    QVariantList link;
    if (firstRow(QStringLiteral("SELECT current FROM chain"), {}, link) == CaError::nullError &&
        !link.isEmpty())
        return CaError::nullError;
    return inTransaction([this] {
        const CaError error = run(RepositorySchema::chainStatement());
        return error == CaError::nullError ? run(QLatin1String(SqliteChain::begin)) : error;
    });
}

// On a disk that is full or read-only SQLite cannot make the files it needs for its locks.
// Without them all is readable as long as nobody has left changes outside the database file.
CaError SqlPatientStore::openFileForReading(const CaError& reason) {
    m_handle = nullptr;
    m_database.close();
    for (const char* changes : {"-wal", "-journal"})
        if (QFileInfo(m_url.path() + QLatin1String(changes)).size() > 0)
            return reason;
    m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
    m_database.setDatabaseName(QStringLiteral("file:") +
                               QString::fromLatin1(QUrl::toPercentEncoding(m_url.path(), "/")) +
                               QStringLiteral("?immutable=1"));
    int version = 0;
    if (!m_database.open() || checkFile() != CaError::nullError ||
        readVersion(version) != CaError::nullError || version != RepositorySchema::version)
        return reason;
    m_whyReadOnly = reason.text();
    return CaError::nullError;
}

// The files that stores of this process have open for writing.
QStringList& SqlPatientStore::openFiles() {
    static QStringList files;
    return files;
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
    if (readError != CaError::nullError || version == RepositorySchema::version)
        return readError;
    if (version > RepositorySchema::version)
        return failure(QStringLiteral("it was made by a newer version of this program: it has the "
                                      "version %1")
                           .arg(version));
    return inTransaction([this] {
        // "IF NOT EXISTS" alone does not keep two workstations from making the same table.
        CaError error =
            isServer()
                ? run(QStringLiteral("SELECT pg_advisory_xact_lock(%1)").arg(lockOfTheTables))
                : CaError();
        for (const QString& sql : RepositorySchema::statements())
            if (error == CaError::nullError)
                error = run(sql);
        if (error == CaError::nullError && !isServer())
            error = run(RepositorySchema::chainStatement());
        if (error == CaError::nullError && !isServer())
            error = run(QLatin1String(SqliteChain::begin));
        if (error == CaError::nullError)
            error = run(QStringLiteral("INSERT INTO repository SELECT %1 WHERE NOT EXISTS "
                                       "(SELECT version FROM repository)")
                            .arg(RepositorySchema::version));
        return error;
    });
}

} // namespace vlr
