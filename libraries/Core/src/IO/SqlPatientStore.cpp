#include "IO/SqlPatientStore.h"

#include "IO/DataIOManager.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtSql/QSqlError>

namespace vlr {

namespace {

constexpr int schemaVersion = 1;

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

const QString listingColumns =
    QStringLiteral("SELECT uid, patient_id, name, sex, birth_date, changed FROM patient ");

MetaInformation listingRow(const QSqlQuery& row) {
    MetaInformation information;
    information.setUri(URI::patient(row.value(0).toString()));
    information.setValue(QStringLiteral("id"), row.value(1).toString());
    information.setValue(QStringLiteral("name"), row.value(2).toString());
    information.setValue(QStringLiteral("sex"), row.value(3).toString());
    information.setValue(QStringLiteral("birthDate"), row.value(4).toString());
    information.setValue(QStringLiteral("changed"), row.value(5).toString());
    return information;
}

// A null QString would be stored as NULL.
QString text(const QString& value) {
    return value.isNull() ? QStringLiteral("") : value;
}

} // namespace

SqlPatientStore::SqlPatientStore(const QUrl& url)
    : m_url(url), m_connection(QUuid::createUuid().toString()) {}

SqlPatientStore::~SqlPatientStore() {
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

CaError SqlPatientStore::failure(const QString& reason) const {
    return CaError("PatientStore::failed", "Patient repository \"" +
                                               m_url.toString(QUrl::RemovePassword).toStdString() +
                                               "\": " + reason.trimmed().toStdString());
}

std::unique_ptr<PatientStore> SqlPatientStore::open(const QUrl& url, CaError& error) {
    std::unique_ptr<SqlPatientStore> store(new SqlPatientStore(url));
    error = store->openDatabase();
    if (error == CaError::nullError)
        error = store->makeTables();
    if (error != CaError::nullError)
        return nullptr;
    return store;
}

CaError SqlPatientStore::openDatabase() {
    const bool isSqlite = m_url.scheme() == QLatin1String("sqlite");
    const QString driver = isSqlite ? QStringLiteral("QSQLITE") : QStringLiteral("QPSQL");
    if (!QSqlDatabase::isDriverAvailable(driver))
        return failure(QStringLiteral("the database driver %1 is not installed").arg(driver));
    m_database = QSqlDatabase::addDatabase(driver, m_connection);
    if (!isSqlite) {
        m_database.setHostName(m_url.host());
        m_database.setPort(m_url.port());
        m_database.setUserName(m_url.userName());
        m_database.setPassword(m_url.password());
        m_database.setDatabaseName(m_url.path().mid(1));
        return m_database.open() ? CaError::nullError : failure(m_database.lastError().text());
    }

    const QFileInfo file(m_url.path());
    if (file.exists() && !file.isFile())
        return failure(QStringLiteral("not a regular file"));
    if (!QDir().mkpath(file.absolutePath()))
        return failure(QStringLiteral("the folder cannot be created"));
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

CaError SqlPatientStore::makeTables() {
    QSqlQuery version(m_database);
    // Asking first keeps the usual start free of a write.
    if (m_database.tables().contains(QLatin1String("repository"))) {
        const CaError error = query(QStringLiteral("SELECT version FROM repository"), {}, version);
        if (error != CaError::nullError)
            return error;
        if (version.next() && version.value(0).toInt() == schemaVersion)
            return CaError::nullError;
        if (version.value(0).toInt() > schemaVersion)
            return failure(QStringLiteral("it was made by a newer version of this program"));
    }
    return inTransaction([this] {
        CaError error;
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

// A full disk shows itself at prepare(); exec() would then speak of a parameter count.
CaError SqlPatientStore::query(const QString& sql, const QVariantList& values, QSqlQuery& query) {
    if (!m_database.isOpen())
        return failure(QStringLiteral("it is closed"));
    query = QSqlQuery(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        return failure(query.lastError().text());
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        return failure(query.lastError().text());
    return CaError::nullError;
}

CaError SqlPatientStore::run(const QString& sql, const QVariantList& values) {
    QSqlQuery statement(m_database);
    return query(sql, values, statement);
}

CaError SqlPatientStore::inTransaction(const std::function<CaError()>& work) {
    // What is read here decides what is written, so SQLite must take the write lock first.
    CaError error =
        run(m_database.driverName() == QLatin1String("QSQLITE") ? QStringLiteral("BEGIN IMMEDIATE")
                                                                : QStringLiteral("BEGIN"));
    if (error != CaError::nullError)
        return error;
    error = work();
    if (error == CaError::nullError)
        error = run(QStringLiteral("COMMIT"));
    if (error != CaError::nullError)
        (void)run(QStringLiteral("ROLLBACK"));
    return error;
}

CaError SqlPatientStore::list(std::vector<MetaInformation>& patients) {
    QSqlQuery row(m_database);
    const CaError error = query(listingColumns + QStringLiteral("ORDER BY patient_id"), {}, row);
    if (error != CaError::nullError)
        return error;
    std::vector<MetaInformation> read;
    while (row.next())
        read.push_back(listingRow(row));
    if (row.lastError().isValid())
        return failure(row.lastError().text());
    patients = std::move(read);
    return CaError::nullError;
}

CaError SqlPatientStore::metaInformation(const QString& uid, MetaInformation& information) {
    QSqlQuery row(m_database);
    const CaError error = query(listingColumns + QStringLiteral("WHERE uid = ?"), {uid}, row);
    if (error != CaError::nullError)
        return error;
    if (!row.next())
        return failure(QStringLiteral("there is no such patient"));
    information = listingRow(row);
    return CaError::nullError;
}

CaError SqlPatientStore::load(const QString& uid, StoredPatient& patient) {
    QSqlQuery row(m_database);
    const CaError error =
        query(QStringLiteral("SELECT revision, content FROM patient JOIN document "
                             "ON document.uid = patient.uid WHERE patient.uid = ?"),
              {uid}, row);
    if (error != CaError::nullError)
        return error;
    if (!row.next())
        return failure(QStringLiteral("there is no such patient"));
    patient.uid = uid;
    patient.revision = row.value(0).toInt();
    patient.document = row.value(1).toByteArray();
    return CaError::nullError;
}

CaError SqlPatientStore::store(StoredPatient& patient, const std::function<CaError()>& storeParts) {
    const CaError error = inTransaction([&] { return storeRows(patient, storeParts); });
    if (error == CaError::nullError)
        ++patient.revision;
    return error;
}

CaError SqlPatientStore::checkRevision(const StoredPatient& patient) {
    QSqlQuery row(m_database);
    CaError error = query(QStringLiteral("SELECT uid FROM patient WHERE patient_id = ? AND "
                                         "uid <> ?"),
                          {patient.patientId, patient.uid}, row);
    if (error != CaError::nullError)
        return error;
    if (row.next())
        return CaError(DataIOManager::idTakenError, "Another patient already has the id \"" +
                                                        patient.patientId.toStdString() + "\".");
    error = query(QStringLiteral("SELECT revision FROM patient WHERE uid = ?"), {patient.uid}, row);
    if (error != CaError::nullError)
        return error;
    const bool stored = row.next();
    if (stored ? row.value(0).toInt() == patient.revision : patient.revision == 0)
        return CaError::nullError;
    return CaError(DataIOManager::changedElsewhereError,
                   "The patient \"" + patient.patientId.toStdString() + "\" was " +
                       (stored ? "changed" : "removed") +
                       " by another application since it was loaded.");
}

CaError SqlPatientStore::storeRows(StoredPatient& patient,
                                   const std::function<CaError()>& storeParts) {
    const auto now = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const QVariantList columns{
        text(patient.patientId), text(patient.name), patient.sex, text(patient.birthDate), now,
        patient.revision + 1,    patient.uid};
    const bool isNew = patient.revision == 0;

    CaError error = checkRevision(patient);
    if (error == CaError::nullError)
        error = run(isNew ? QStringLiteral("INSERT INTO patient (patient_id, name, sex, "
                                           "birth_date, changed, revision, uid) "
                                           "VALUES (?, ?, ?, ?, ?, ?, ?)")
                          : QStringLiteral("UPDATE patient SET patient_id = ?, name = ?, sex = ?, "
                                           "birth_date = ?, changed = ?, revision = ? "
                                           "WHERE uid = ?"),
                    columns);
    if (error == CaError::nullError)
        error = run(isNew ? QStringLiteral("INSERT INTO document (content, uid) VALUES (?, ?)")
                          : QStringLiteral("UPDATE document SET content = ? WHERE uid = ?"),
                    {patient.document, patient.uid});
    if (error == CaError::nullError)
        error = storeParts();
    if (error == CaError::nullError)
        error = removeOrphanedParts(patient);
    return error;
}

CaError SqlPatientStore::removeOrphanedParts(const StoredPatient& patient) {
    QSqlQuery row(m_database);
    CaError error = query(QStringLiteral("SELECT DISTINCT item FROM binary_part WHERE uid = ?"),
                          {patient.uid}, row);
    if (error != CaError::nullError)
        return error;
    const QSet<QString> kept(patient.itemKeys.begin(), patient.itemKeys.end());
    QStringList orphans;
    while (row.next())
        if (!kept.contains(row.value(0).toString()))
            orphans << row.value(0).toString();
    for (const QString& item : orphans)
        if (error == CaError::nullError)
            error = run(QStringLiteral("DELETE FROM binary_part WHERE uid = ? AND item = ?"),
                        {patient.uid, item});
    return error;
}

CaError SqlPatientStore::remove(const QString& uid) {
    return run(QStringLiteral("DELETE FROM patient WHERE uid = ?"), {uid});
}

CaError SqlPatientStore::readPart(const QString& uid, const QString& itemKey, const QString& name,
                                  qint64 limit, QByteArray& bytes) {
    QSqlQuery row(m_database);
    const QString where =
        QStringLiteral(" FROM binary_part WHERE uid = ? AND item = ? AND name = ?");
    CaError error =
        query(QStringLiteral("SELECT length(content)") + where, {uid, itemKey, name}, row);
    if (error != CaError::nullError)
        return error;
    if (!row.next())
        return failure(QStringLiteral("there is no part \"%1\"").arg(name));
    if (row.value(0).toLongLong() > limit)
        return failure(
            QStringLiteral("the part \"%1\" has more than %2 bytes").arg(name).arg(limit));
    error = query(QStringLiteral("SELECT content") + where, {uid, itemKey, name}, row);
    if (error != CaError::nullError)
        return error;
    if (!row.next())
        return failure(QStringLiteral("there is no part \"%1\"").arg(name));
    bytes = row.value(0).toByteArray();
    return CaError::nullError;
}

CaError SqlPatientStore::writePart(const QString& uid, const QString& itemKey, const QString& name,
                                   const QByteArray& bytes) {
    const QVariantList place{uid, itemKey, name};
    const CaError error = run(
        QStringLiteral("DELETE FROM binary_part WHERE uid = ? AND item = ? AND name = ?"), place);
    if (error != CaError::nullError)
        return error;
    return run(
        QStringLiteral("INSERT INTO binary_part (uid, item, name, content) VALUES (?, ?, ?, ?)"),
        place + QVariantList{bytes.isNull() ? QByteArray("") : bytes});
}

} // namespace vlr
