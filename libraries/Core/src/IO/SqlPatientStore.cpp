#include "IO/SqlPatientStore.h"

#include "IO/DataIOManager.h"

#include <QtCore/QDateTime>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtSql/QSqlError>

namespace vlr {

namespace {

const QString listingColumns = QStringLiteral(
    "SELECT uid, patient_id, name, sex, birth_date, changed, revision FROM patient ");

MetaInformation listingRow(const QSqlQuery& row) {
    return {URI::patient(row.value(0).toString()),
            {{QStringLiteral("id"), row.value(1).toString()},
             {QStringLiteral("name"), row.value(2).toString()},
             {QStringLiteral("sex"), row.value(3).toString()},
             {QStringLiteral("birthDate"), row.value(4).toString()},
             {QStringLiteral("changed"), row.value(5).toString()},
             {QStringLiteral("revision"), row.value(6).toString()}}};
}

// A null QString would be stored as NULL.
QString text(const QString& value) {
    return value.isNull() ? QStringLiteral("") : value;
}

} // namespace

SqlPatientStore::SqlPatientStore(const QUrl& url)
    : m_url(url), m_connection(QUuid::createUuid().toString()) {}

SqlPatientStore::~SqlPatientStore() {
    // SQLite leaves the changes beside a file that was moved, where they would be lost as soon as
    // a new one takes its place.
    if (isFileGone())
        (void)run(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

CaError SqlPatientStore::failure(const QString& reason) const {
    return CaError("PatientStore::failed", "Patient repository \"" +
                                               m_url.toString(QUrl::RemovePassword).toStdString() +
                                               "\": " + reason.simplified().toStdString());
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

CaError SqlPatientStore::run(const QString& sql, const QVariantList& values, int* changedRows) {
    QSqlQuery statement(m_database);
    const CaError error = query(sql, values, statement);
    if (changedRows)
        *changedRows = statement.numRowsAffected();
    return error;
}

CaError SqlPatientStore::inTransaction(const std::function<CaError()>& work, const bool& isIdle) {
    CaError error = checkWritable();
    if (error != CaError::nullError)
        return error;
    // What is read here decides what is written, so SQLite must take the write lock first.
    error = run(isServer() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE"));
    if (error != CaError::nullError)
        return error;
    error = work();
    if (error == CaError::nullError && !isIdle)
        error = run(QStringLiteral("COMMIT"));
    if (error != CaError::nullError || isIdle)
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

// The index that keeps the ids unique answers this alone.
CaError SqlPatientStore::patientIds(std::vector<QString>& ids) {
    ids.clear();
    QSqlQuery row(m_database);
    const CaError error = query(QStringLiteral("SELECT patient_id FROM patient"), {}, row);
    if (error != CaError::nullError)
        return error;
    while (row.next())
        ids.push_back(row.value(0).toString());
    return row.lastError().isValid() ? failure(row.lastError().text()) : CaError::nullError;
}

CaError SqlPatientStore::metaInformation(const QString& uid, MetaInformation& information) {
    QSqlQuery row(m_database);
    const CaError error = query(listingColumns + QStringLiteral("WHERE uid = ?"), {uid}, row);
    if (error != CaError::nullError)
        return error;
    if (row.lastError().isValid())
        return failure(row.lastError().text());
    if (!row.next())
        return CaError(unknownPatientError,
                       failure(QStringLiteral("there is no such patient")).text());
    information = listingRow(row);
    return CaError::nullError;
}

CaError SqlPatientStore::load(const QString& uid, qint64 limit, StoredPatient& patient) {
    QSqlQuery row(m_database);
    const QString from = QStringLiteral(" FROM patient JOIN document "
                                        "ON document.uid = patient.uid WHERE patient.uid = ?");
    CaError error = query(QStringLiteral("SELECT length(content)") + from, {uid}, row);
    if (error != CaError::nullError)
        return error;
    if (row.next() && row.value(0).toLongLong() > limit)
        return failure(QStringLiteral("the patient has more than %1 bytes").arg(limit));
    error = query(QStringLiteral("SELECT revision, content") + from, {uid}, row);
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
    bool isUnchanged = false;
    const CaError error =
        inTransaction([&] { return storeRows(patient, storeParts, isUnchanged); }, isUnchanged);
    if (error == CaError::nullError && !isUnchanged)
        ++patient.revision;
    return error;
}

CaError SqlPatientStore::checkId(const StoredPatient& patient) {
    QSqlQuery row(m_database);
    const CaError error = query(QStringLiteral("SELECT uid FROM patient WHERE patient_id = ? AND "
                                               "uid <> ?"),
                                {patient.patientId, patient.uid}, row);
    if (error == CaError::nullError && row.next())
        return CaError(DataIOManager::idTakenError, "Another patient already has the id \"" +
                                                        patient.patientId.toStdString() + "\".");
    return error;
}

CaError SqlPatientStore::storePatientRow(const StoredPatient& patient) {
    const auto now = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    const bool isNew = patient.revision == 0;
    QVariantList values{
        text(patient.patientId), text(patient.name), patient.sex, text(patient.birthDate), now,
        patient.revision + 1,    patient.uid};
    if (!isNew)
        values << patient.revision;
    // One statement compares and writes: between two of them a server lets others in.
    int rows = 0;
    const CaError error =
        run(isNew ? QStringLiteral("INSERT INTO patient (patient_id, name, sex, birth_date, "
                                   "changed, revision, uid) VALUES (?, ?, ?, ?, ?, ?, ?) "
                                   "ON CONFLICT DO NOTHING")
                  : QStringLiteral("UPDATE patient SET patient_id = ?, name = ?, sex = ?, "
                                   "birth_date = ?, changed = ?, revision = ? "
                                   "WHERE uid = ? AND revision = ?"),
            values, &rows);
    if (error != CaError::nullError || rows == 1)
        return error;
    // On a server the id may have gone to somebody else since it was checked.
    const CaError idError = checkId(patient);
    if (idError == CaError::nullError)
        return CaError(DataIOManager::changedElsewhereError,
                       "The patient \"" + patient.patientId.toStdString() +
                           "\" was changed or removed by another application since it was "
                           "loaded.");
    return idError;
}

CaError SqlPatientStore::storeDocument(const StoredPatient& patient) {
    const bool isNew = patient.revision == 0;
    int rows = 0;
    const CaError error =
        run(isNew ? QStringLiteral("INSERT INTO document (content, uid) VALUES (?, ?)")
                  : QStringLiteral("UPDATE document SET content = ? WHERE uid = ?"),
            {patient.document, patient.uid}, &rows);
    if (error == CaError::nullError && rows != 1)
        return failure(QStringLiteral("the data of the patient are missing"));
    return error;
}

// The columns of the listing are in the document too.
CaError SqlPatientStore::findUnchanged(const StoredPatient& patient, bool& isUnchanged) {
    QSqlQuery row(m_database);
    const CaError error =
        query(QStringLiteral("SELECT 1 FROM document WHERE uid = ? AND content = ?"),
              {patient.uid, patient.document}, row);
    isUnchanged = error == CaError::nullError && !m_hasWrittenParts && row.next();
    return error;
}

CaError SqlPatientStore::storeRows(const StoredPatient& patient,
                                   const std::function<CaError()>& storeParts, bool& isUnchanged) {
    CaError error = checkId(patient);
    if (error == CaError::nullError)
        error = storePatientRow(patient);
    m_hasWrittenParts = false;
    if (error == CaError::nullError)
        error = storeParts();
    if (error == CaError::nullError)
        error = findUnchanged(patient, isUnchanged);
    if (error != CaError::nullError || isUnchanged)
        return error;
    error = storeDocument(patient);
    if (error == CaError::nullError)
        error = settleParts(patient);
    return error;
}

CaError SqlPatientStore::settleParts(const StoredPatient& patient) {
    QSqlQuery row(m_database);
    CaError error = query(QStringLiteral("SELECT item, name FROM binary_part WHERE uid = ?"),
                          {patient.uid}, row);
    if (error != CaError::nullError)
        return error;
    QSet<QPair<QString, QString>> missing = patient.parts;
    QSet<QPair<QString, QString>> orphans;
    while (row.next()) {
        const auto part = qMakePair(row.value(0).toString(), row.value(1).toString());
        if (!missing.remove(part))
            orphans.insert(part);
    }
    if (row.lastError().isValid())
        return failure(row.lastError().text());
    if (!missing.isEmpty())
        return failure(QStringLiteral("the bytes of the part \"%1\" are neither in memory nor in "
                                      "the repository")
                           .arg(missing.begin()->second));
    for (const auto& part : orphans)
        if (error == CaError::nullError)
            error = run(
                QStringLiteral("DELETE FROM binary_part WHERE uid = ? AND item = ? AND name = ?"),
                {patient.uid, part.first, part.second});
    return error;
}

CaError SqlPatientStore::remove(const QString& uid) {
    return inTransaction([&] {
        int rows = 0;
        const CaError error =
            run(QStringLiteral("DELETE FROM patient WHERE uid = ?"), {uid}, &rows);
        if (error == CaError::nullError && rows != 1)
            return failure(QStringLiteral("there is no such patient"));
        return error;
    });
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
    const CaError error = checkWritable();
    if (error != CaError::nullError)
        return error;
    m_hasWrittenParts = true;
    // One statement, so that the old bytes stay where there is no room for the new ones.
    return run(QStringLiteral("INSERT INTO binary_part (uid, item, name, content) "
                              "VALUES (?, ?, ?, ?) ON CONFLICT (uid, item, name) "
                              "DO UPDATE SET content = excluded.content"),
               {uid, itemKey, name, bytes.isNull() ? QByteArray("") : bytes});
}

} // namespace vlr
