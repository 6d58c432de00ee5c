#include "IO/SqlPatientStore.h"

#include "Data/PatientText.h"

#include <QtCore/QDateTime>
#include <QtCore/QUuid>
#include <QtCore/QVariant>

#include <algorithm>

namespace vlr {

namespace {

const QString listingColumns = QStringLiteral(
    "SELECT uid, patient_id, name, sex, birth_date, changed, revision FROM patient ");

const QString ofThePart =
    QStringLiteral(" FROM binary_part WHERE uid = ? AND item = ? AND name = ?");

// What the driver sends is text, two characters a byte, and PostgreSQL reads a text of more than
// 512 MiB no further.
constexpr qint64 largestServerPart = (qint64(256) << 20) - 16;

// No id and no name is longer; beside the content of a row the texts of its key count.
constexpr qint64 longestText = 64 << 10;

QString partText(const QString& name) {
    return QStringLiteral("part \"%1\"").arg(name);
}

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

SqlPatientStore::SqlPatientStore(const QString& url)
    : m_text(url), m_url(url), m_connection(QUuid::createUuid().toString()) {}

SqlPatientStore::~SqlPatientStore() {
    // SQLite leaves the changes beside a file that was moved, where they would be lost as soon as
    // a new one takes its place.
    if (isFileGone())
        (void)run(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    m_handle = nullptr;
    m_database.close();
    m_use.reset();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

CaError SqlPatientStore::list(std::vector<MetaInformation>& patients) {
    const ValueLimit limit(*this, longestText);
    std::vector<MetaInformation> read;
    const CaError error = rows(listingColumns + QStringLiteral("ORDER BY patient_id"), {},
                               [&](const QSqlQuery& row) { read.push_back(listingRow(row)); });
    if (error == CaError::nullError)
        patients = std::move(read);
    return error;
}

// The index that keeps the ids unique answers this alone.
CaError SqlPatientStore::patientIds(std::vector<QString>& ids) {
    const ValueLimit limit(*this, longestText);
    ids.clear();
    return rows(QStringLiteral("SELECT patient_id FROM patient"), {},
                [&](const QSqlQuery& row) { ids.push_back(row.value(0).toString()); });
}

CaError SqlPatientStore::metaInformation(const QString& uid, MetaInformation& information) {
    const ValueLimit limit(*this, longestText);
    bool isFound = false;
    const CaError error =
        rows(listingColumns + QStringLiteral("WHERE uid = ?"), {uid}, [&](const QSqlQuery& row) {
            information = listingRow(row);
            isFound = true;
        });
    if (error == CaError::nullError && !isFound)
        return CaError(unknownPatientError,
                       failure(QStringLiteral("there is no such patient")).text());
    return error;
}

CaError SqlPatientStore::readContent(const QString& what, const QString& columns,
                                     const QString& from, const QVariantList& key, qint64 limit,
                                     QVariantList& row) {
    const ValueLimit valueLimit(*this, limit + longestText);
    CaError error = firstRow(QStringLiteral("SELECT length(content)") + from, key, row);
    if (error == CaError::nullError && !row.isEmpty() && row[0].toLongLong() > limit)
        return failure(QStringLiteral("the %1 has more than %2 bytes").arg(what).arg(limit));
    if (error == CaError::nullError)
        error = firstRow(QStringLiteral("SELECT length(content), content") + columns + from, key,
                         row, limit + usualRow);
    if (error == CaError::nullError && row.isEmpty())
        return failure(QStringLiteral("the %1 is not there").arg(what));
    // The driver of PostgreSQL gives none, and no error, where it finds no memory for them.
    if (error == CaError::nullError && row[1].toByteArray().size() != row[0].toLongLong())
        error = lackOfMemory();
    return error == CaError::nullError
               ? error
               : CaError(error.id(),
                         "The " + what.toStdString() + " cannot be read. " + error.text());
}

CaError SqlPatientStore::load(const QString& uid, qint64 limit, StoredPatient& patient) {
    QVariantList row;
    const CaError error =
        readContent(QStringLiteral("patient"), QStringLiteral(", revision"),
                    QStringLiteral(" FROM patient JOIN document ON document.uid = patient.uid "
                                   "WHERE patient.uid = ?"),
                    {uid}, limit, row);
    if (error != CaError::nullError)
        return error;
    patient.uid = uid;
    patient.document = row[1].toByteArray();
    patient.revision = row[2].toInt();
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
    QVariantList row;
    const CaError error =
        firstRow(QStringLiteral("SELECT uid FROM patient WHERE patient_id = ? AND uid <> ?"),
                 {patient.patientId, patient.uid}, row);
    if (error == CaError::nullError && !row.isEmpty())
        return CaError(idTakenError, "Another patient already has the id \"" +
                                         patient.patientId.toStdString() + "\".");
    return error == CaError::nullError ? checkOtherForms(patient) : error;
}

// An id that was stored before ids were normalized may be the same in another form. Such are few,
// if any, and sought by the database. Who has an id keeps it.
CaError SqlPatientStore::checkOtherForms(const StoredPatient& patient) {
    QVariantList own;
    CaError error = firstRow(QStringLiteral("SELECT 1 FROM patient WHERE uid = ? AND "
                                            "patient_id = ?"),
                             {patient.uid, patient.patientId}, own);
    if (error != CaError::nullError || !own.isEmpty())
        return error;
    const QString unusual =
        isServer() ? QStringLiteral("patient_id ~ '[^ -~]|^ | $'")
                   : QStringLiteral("(length(patient_id) <> length(CAST(patient_id AS BLOB)) OR "
                                    "patient_id GLOB '*[^ -~]*' OR trim(patient_id) <> "
                                    "patient_id)");
    const ValueLimit limit(*this, longestText);
    QString found;
    error = rows(QStringLiteral("SELECT patient_id FROM patient WHERE uid <> ? AND ") + unusual,
                 {patient.uid}, [&](const QSqlQuery& row) {
                     const QString id = row.value(0).toString();
                     if (normalizedId(id) == normalizedId(patient.patientId))
                         found = id;
                 });
    if (error != CaError::nullError || found.isEmpty())
        return error;
    return CaError(idTakenError, "Another patient already has the id \"" +
                                     visibleText(found).toStdString() +
                                     "\", which differs in characters that cannot be seen only.");
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
        return CaError(changedElsewhereError,
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
    if (error == CaError::nullError)
        return checkWritten(QStringLiteral(" FROM document WHERE uid = ?"), {patient.uid},
                            patient.document);
    return error;
}

// The columns of the listing are in the document too.
CaError SqlPatientStore::findUnchanged(const StoredPatient& patient, bool& isUnchanged) {
    QVariantList row;
    const CaError error =
        firstRow(QStringLiteral("SELECT 1 FROM document WHERE uid = ? AND content = ?"),
                 {patient.uid, patient.document}, row);
    isUnchanged = !m_hasWrittenParts && !row.isEmpty();
    return error;
}

CaError SqlPatientStore::storeRows(const StoredPatient& patient,
                                   const std::function<CaError()>& storeParts, bool& isUnchanged) {
    // What is longer the listing would refuse, and with it all others.
    if (std::max(patient.patientId.toUtf8().size(), patient.name.toUtf8().size()) > longestText / 4)
        return failure(
            QStringLiteral("an id or a name of more than %1 bytes").arg(longestText / 4));
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
    return error == CaError::nullError ? checkStored(patient) : error;
}

// A database can do something else than it is told, and say that all is well.
CaError SqlPatientStore::checkStored(const StoredPatient& patient) {
    QVariantList row;
    const CaError error = firstRow(
        QStringLiteral("SELECT (SELECT count(*) FROM patient WHERE uid = ? AND "
                       "patient_id = ? AND revision = ?), (SELECT count(*) FROM document "
                       "WHERE uid = ?), (SELECT count(*) FROM binary_part WHERE uid = ?)"),
        {patient.uid, text(patient.patientId), patient.revision + 1, patient.uid, patient.uid},
        row);
    if (error != CaError::nullError)
        return error;
    if (row.value(0).toInt() == 1 && row.value(1).toInt() == 1 &&
        row.value(2).toInt() == patient.parts.size())
        return CaError::nullError;
    return failure(QStringLiteral("what was stored is not what is in it now"));
}

CaError SqlPatientStore::settleParts(const StoredPatient& patient) {
    QSet<QPair<QString, QString>> missing = patient.parts;
    QSet<QPair<QString, QString>> orphans;
    CaError error = rows(QStringLiteral("SELECT item, name FROM binary_part WHERE uid = ?"),
                         {patient.uid}, [&](const QSqlQuery& row) {
                             const auto part =
                                 qMakePair(row.value(0).toString(), row.value(1).toString());
                             if (!missing.remove(part))
                                 orphans.insert(part);
                         });
    if (error != CaError::nullError)
        return error;
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
    QVariantList row;
    const CaError error =
        readContent(partText(name), QString(), ofThePart, {uid, itemKey, name}, limit, row);
    if (error == CaError::nullError)
        bytes = row[1].toByteArray();
    return error;
}

CaError SqlPatientStore::writePart(const QString& uid, const QString& itemKey, const QString& name,
                                   const QByteArray& bytes) {
    if (!m_isInTransaction)
        return inTransaction([&] { return writePart(uid, itemKey, name, bytes); });
    CaError error = checkWritable();
    if (error != CaError::nullError)
        return error;
    m_hasWrittenParts = true;
    error = writeContent({uid, itemKey, name}, bytes);
    return error == CaError::nullError
               ? error
               : CaError(error.id(), "The " + partText(name).toStdString() + " with " +
                                         std::to_string(bytes.size()) +
                                         " bytes cannot be stored. " + error.text());
}

CaError SqlPatientStore::writeContent(const QVariantList& key, const QByteArray& bytes) {
    if (isServer() && bytes.size() > largestServerPart)
        return failure(QStringLiteral("a server takes at most %1 bytes").arg(largestServerPart));
    // One statement, so that the old bytes stay where there is no room for the new ones.
    const CaError error = run(QStringLiteral("INSERT INTO binary_part (uid, item, name, content) "
                                             "VALUES (?, ?, ?, ?) ON CONFLICT (uid, item, name) "
                                             "DO UPDATE SET content = excluded.content"),
                              key + QVariantList{bytes.isNull() ? QByteArray("") : bytes});
    return error == CaError::nullError ? checkWritten(ofThePart, key, bytes) : error;
}

// The driver of PostgreSQL sends none, and gives no error, where it finds no memory for them.
CaError SqlPatientStore::checkWritten(const QString& from, const QVariantList& key,
                                      const QByteArray& bytes) {
    QVariantList row;
    const CaError error = firstRow(QStringLiteral("SELECT length(content)") + from, key, row);
    if (error == CaError::nullError && row.value(0).toLongLong() != bytes.size())
        return lackOfMemory();
    return error;
}

} // namespace vlr
