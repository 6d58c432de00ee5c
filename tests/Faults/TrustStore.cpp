// Database files that somebody has prepared.

#include "PeakMemory.h"
#include "Trust.h"

#include "IO/DataIOManager.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <stdexcept>

namespace {

DataPointer<Patient> storedPatient(const char* id) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QLatin1String(id));
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    return patient;
}

// Whatever is asked of such a file: it is refused in time, without much memory, and by its name.
std::string refusal(std::initializer_list<const char*> statements, const char* said) {
    const auto patient = storedPatient("1");
    DataIOManager::closeRepository();
    for (const char* statement : statements)
        (void)trustSql(statement);
    const PeakMemory memory;
    QElapsedTimer timer;
    timer.start();
    std::vector<MetaInformation> patients;
    DataPointer<Patient> loaded;
    std::vector<QString> ids;
    const std::string texts = DataIOManager::patientMetaInfoList(patients).text() + '\n' +
                              DataIOManager::patientIds(ids).text() + '\n' +
                              DataIOManager::loadPatient(patient->storage().uri, loaded).text();
    if (texts.find(said) == std::string::npos)
        return "it is not refused for that: " + texts;
    if (timer.elapsed() > 20000)
        return "it takes " + std::to_string(timer.elapsed()) + " ms";
    constexpr qint64 most = 64 << 20;
    if (PeakMemory::isMeasurable() && memory.growth() > most)
        return "it takes " + std::to_string(memory.growth() >> 20) + " MiB";
    return {};
}

std::string aTextWithNulIsLong() {
    return refusal({"UPDATE document SET content = CAST('a' || x'00' || zeroblob(300000000) AS "
                    "TEXT)"},
                   "too big");
}

std::string aNameIsLong() {
    return refusal({"UPDATE patient SET name = CAST(zeroblob(300000000) AS TEXT)"}, "too big");
}

std::string aTableIsAView() {
    return refusal(
        {"ALTER TABLE patient RENAME TO p",
         "CREATE VIEW patient AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
         "FROM n) SELECT i AS uid, i AS patient_id, '' AS name, 0 AS sex, '' AS "
         "birth_date, '' AS changed, 1 AS revision FROM n"},
        "it holds the");
}

std::string thereIsATrigger() {
    return refusal({"CREATE TRIGGER t AFTER INSERT ON patient BEGIN DELETE FROM patient; END"},
                   "trigger \"t\"");
}

std::string aTableIsAnotherOne() {
    return refusal(
        {"DROP TABLE binary_part", "CREATE TABLE binary_part (uid, item, name, content)"},
        "table \"binary_part\" is another one");
}

std::string aTableIsMissing() {
    return refusal({"DROP TABLE document"}, "lacks the table \"document\"");
}

std::string itIsNewer() {
    return refusal({"UPDATE repository SET version = 7", "CREATE TABLE more (x)"}, "version 7");
}

// Added while the program has the file open.
std::string aTriggerComesLater() {
    (void)storedPatient("1");
    (void)trustSql("CREATE TRIGGER t AFTER INSERT ON patient BEGIN DELETE FROM patient; END");
    DataPointer<Patient> second(new Patient);
    second->setPatientId(QStringLiteral("2"));
    const bool isStored = DataIOManager::storePatient(second) == CaError::nullError;
    const int count = trustSql("SELECT count(*) FROM patient").toInt();
    return count == (isStored ? 2 : 1) ? "" : std::to_string(count) + " patients are left";
}

} // namespace

QVariant trustSql(const char* statement) {
    QVariant value;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("beside"));
        database.setDatabaseName(trustRepository());
        QSqlQuery query(database.open() ? database : QSqlDatabase());
        if (!query.exec(QLatin1String(statement)))
            throw std::runtime_error(statement);
        if (query.next())
            value = query.value(0);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("beside"));
    return value;
}

std::vector<TrustCase> trustStore() {
    return {
        {"a file with a NUL in a long text", &aTextWithNulIsLong},
        {"a file with a long name", &aNameIsLong},
        {"a file with a view in place of a table", &aTableIsAView},
        {"a file with a trigger", &thereIsATrigger},
        {"a file with a table of other columns", &aTableIsAnotherOne},
        {"a file without a table", &aTableIsMissing},
        {"a file of a newer version", &itIsNewer},
        {"a trigger made while the file is open", &aTriggerComesLater},
    };
}
