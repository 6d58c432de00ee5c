#include "File/PrivateFile.h"
#include "Files/PatientFile.h"
#include "IO/RepositoryFiles.h"
#include "IO/RepositorySchema.h"
#include "IO/SqlPatientStore.h"
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

} // namespace

std::unique_ptr<PatientStore> SqlPatientStore::reached(const QString& url, Step file, Step server,
                                                       CaError& error) {
    std::unique_ptr<SqlPatientStore> store(new SqlPatientStore(url));
    error = (store.get()->*(url.startsWith(QLatin1String("sqlite:")) ? file : server))();
    if (error != CaError::nullError)
        return nullptr;
    return store;
}

std::unique_ptr<PatientStore> SqlPatientStore::open(const QString& url, CaError& error) {
    return reached(url, &SqlPatientStore::openFile, &SqlPatientStore::openServer, error);
}

CaError SqlPatientStore::addDatabase(const QString& driver) {
    if (!QSqlDatabase::isDriverAvailable(driver))
        return failure(QStringLiteral("the database driver %1 is not installed").arg(driver));
    m_database = QSqlDatabase::addDatabase(driver, m_connection);
    return CaError::nullError;
}

// The driver gets what it quotes by itself, and the rest as options. It asks the server by itself
// when it opens the connection, which is watched as well.
CaError SqlPatientStore::connectToServer() {
    const QString irregular = m_address.irregularFile();
    if (!irregular.isEmpty())
        return failure(QStringLiteral("\"%1\" is not a regular file").arg(irregular));
    m_database.setHostName(m_address.host);
    m_database.setPort(m_address.port);
    m_database.setUserName(m_address.user);
    m_database.setPassword(m_address.password);
    m_database.setDatabaseName(m_address.database);
    m_database.setConnectOptions(m_address.connectOptions());
    m_guard = std::make_unique<ServerGuard>(m_address.port);
    const ServerGuard::Opening opening(*m_guard);
    return m_database.open() ? CaError::nullError : failure(m_database.lastError().text());
}

CaError SqlPatientStore::openServer() {
    const CaError error = reachServer();
    return error == CaError::nullError ? makeTables() : error;
}

CaError SqlPatientStore::reachServer() {
    CaError error = ServerAddress::read(m_text, m_address);
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    error = addDatabase(QStringLiteral("QPSQL"));
    if (error == CaError::nullError)
        error = connectToServer();
    // A workstation that is switched off in the middle of a store keeps nobody else waiting.
    for (const char* setting :
         {"lock_timeout = 5000", "idle_in_transaction_session_timeout = 60000",
          "tcp_keepalives_idle = 5", "tcp_keepalives_interval = 5", "tcp_keepalives_count = 2"})
        if (error == CaError::nullError)
            error = run(QStringLiteral("SET ") + QLatin1String(setting));
    return error == CaError::nullError ? checkRelations() : error;
}

// What has the names of the tables is to be tables, which do what they are told and nothing else.
CaError SqlPatientStore::checkRelations() {
    QString problem;
    const CaError error =
        rows(QStringLiteral(
                 "SELECT relname, relkind::text, EXISTS (SELECT 1 FROM "
                 "pg_catalog.pg_rewrite WHERE ev_class = c.oid), relrowsecurity, EXISTS (SELECT 1 "
                 "FROM pg_catalog.pg_trigger WHERE tgrelid = c.oid AND NOT tgisinternal), EXISTS "
                 "(SELECT 1 FROM pg_catalog.pg_inherits WHERE c.oid IN (inhparent, inhrelid)) "
                 "FROM pg_catalog.pg_class c WHERE oid IN (to_regclass('repository'), "
                 "to_regclass('patient'), to_regclass('document'), to_regclass('binary_part'))"),
             {}, [&](const QSqlQuery& row) {
                 const char* const wrong = row.value(1).toString() != QLatin1String("r")
                                               ? "is no table"
                                           : row.value(2).toBool() ? "has rules"
                                           : row.value(3).toBool() ? "hides rows by policies"
                                           : row.value(4).toBool() ? "has triggers"
                                           : row.value(5).toBool() ? "consists of other tables"
                                                                   : nullptr;
                 if (wrong && problem.isEmpty())
                     problem = QStringLiteral("it is no repository of patients of this program: "
                                              "its \"%1\" %2")
                                   .arg(row.value(0).toString(), QLatin1String(wrong));
             });
    return error == CaError::nullError && !problem.isEmpty() ? failure(problem) : error;
}

CaError SqlPatientStore::checkUrl() const {
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
    return CaError::nullError;
}

// To be called before anything of it is opened.
CaError SqlPatientStore::checkFiles() const {
    const QString problem = whyNotOpened(m_url.path());
    return problem.isEmpty() ? CaError::nullError : failure(problem);
}

CaError SqlPatientStore::openFile() {
    CaError error = checkUrl();
    if (error != CaError::nullError)
        return error;
    const QFileInfo file(m_url.path());
    if (makePatientFolder(file.path()) != 0)
        return failure(QStringLiteral("the folder cannot be created"));
    error = addDatabase(QStringLiteral("QSQLITE"));
    if (error != CaError::nullError)
        return error;
    m_path = realFile(m_url.path());
    const OpeningLock opening(m_path);
    if (opening.isTaken())
        return failure(QStringLiteral("another program is opening it"));
    removeSecondNames(m_path);
    error = checkFiles();
    if (error != CaError::nullError)
        return error;
    error = openFileForWriting();
    if (error != CaError::nullError && file.size() > 0)
        error = openFileForReading(error);
    limitFiles();
    return error;
}

// SQLite gives what it makes beside the file the rights of the file, but not its group.
void SqlPatientStore::limitFiles() const {
    limitPatientFile(m_path);
    for (const char* suffix : SqliteDatabase::filesBeside)
        limitPatientFile(m_path + QLatin1String(suffix));
}

CaError SqlPatientStore::openFileForWriting() {
    // SQLite itself would let everybody read a new file; those beside it get the same rights.
    if (const int number = makePrivateFile(m_path))
        return failure(QString::fromStdString(std::generic_category().message(number)));
    CaError error = SqliteChain::setForeignWalAside(m_path);
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    m_file = identity(m_url.path());
    m_use.emplace(m_path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    m_database.setDatabaseName(m_path);
    if (!m_database.open())
        return failure(m_database.lastError().text());
    error = checkFile();
    // A new file gets its tables before anything of it may lie beside it.
    const QString statements[] = {QStringLiteral("PRAGMA synchronous=FULL"),
                                  QStringLiteral("PRAGMA foreign_keys=ON")};
    for (const QString& statement : statements)
        if (error == CaError::nullError)
            error = run(statement);
    if (error == CaError::nullError)
        error = makeTables();
    if (error == CaError::nullError)
        error = run(QStringLiteral("PRAGMA journal_mode=WAL"));
    if (error == CaError::nullError)
        error = beginChain();
    return error == CaError::nullError ? checkWritable() : error;
}

// The file may be anybody's: nothing in it is asked before it is known what it consists of.
CaError SqlPatientStore::checkFile() {
    m_handle = fileHandle();
    if (!m_handle)
        return failure(QStringLiteral("the database driver brings an SQLite of its own"));
    SqliteDatabase file(m_handle, m_path);
    file.distrust();
    const SqliteBounds bounds(file);
    if (m_look && file.lookOnly() != CaError::nullError)
        return failure(QStringLiteral("it cannot be looked at without changing it"));
    int version = 0;
    const CaError error = RepositorySchema::check(file, version);
    if (error != CaError::nullError)
        return failure(QString::fromStdString(error.text()));
    // A file of this program has its tables from the first moment on.
    if (version == 0 && QFileInfo(m_path).size() > 0 && !hasChangesBeside())
        return failure(
            QStringLiteral("it holds nothing: it may be a copy that was made without the "
                           "file \"%1-wal\" beside it")
                .arg(QFileInfo(m_path).fileName()));
    return error;
}

bool SqlPatientStore::hasChangesBeside() const {
    return QFileInfo(m_path + QLatin1String("-wal")).size() > 0 ||
           QFileInfo(m_path + QLatin1String("-journal")).size() > 0;
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
    CaError error = inTransaction([this] {
        const CaError made = run(RepositorySchema::chainStatement());
        return made == CaError::nullError ? run(QLatin1String(SqliteChain::begin)) : made;
    });
    // From now on a file without a chain is one of before.
    if (error == CaError::nullError)
        error = run(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    return error;
}

// On a disk that is full or read-only SQLite cannot make the files it needs for its locks.
// Without them all is readable as long as nobody has left changes outside the database file.
CaError SqlPatientStore::openFileForReading(const CaError& reason) {
    m_handle = nullptr;
    m_database.close();
    m_use.reset();
    m_file = identity(m_url.path());
    if (hasChangesBeside())
        return reason;
    m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
    m_database.setDatabaseName(QStringLiteral("file:") +
                               QString::fromLatin1(QUrl::toPercentEncoding(m_path, "/")) +
                               QStringLiteral("?immutable=1"));
    int version = 0;
    if (!m_database.open() || checkFile() != CaError::nullError ||
        readVersion(version) != CaError::nullError || version != RepositorySchema::version)
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
    const ServerGuard::Watch watch(m_guard.get(), ServerGuard::few);
    return isServer() ? !QSqlQuery(m_database).exec(QStringLiteral("SELECT 1"))
                      : isFileGone() || (m_look && m_look->isDisturbed());
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
    QVariantList row;
    CaError error =
        firstRow(isServer() ? QStringLiteral("SELECT 1 WHERE to_regclass('repository') IS NOT NULL")
                            : QStringLiteral("SELECT 1 FROM sqlite_master WHERE name = "
                                             "'repository'"),
                 {}, row);
    if (error != CaError::nullError || row.isEmpty())
        return error;
    error = firstRow(QStringLiteral("SELECT version FROM repository"), {}, row);
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
