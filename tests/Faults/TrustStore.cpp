// Database files that somebody has prepared.

#include "PeakMemory.h"
#include "Trust.h"

#include "IO/DataIOManager.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
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
std::string refusal(std::initializer_list<const char*> statements, const char* said,
                    bool hasChanges = false) {
    const auto patient = storedPatient("1");
    DataIOManager::closeRepository();
    for (const char* statement : statements)
        (void)trustSql(statement);
    if (hasChanges) {
        QFile changes(trustRepository() + QStringLiteral("-wal"));
        if (!changes.open(QIODevice::WriteOnly) || !changes.resize(64))
            throw std::runtime_error("Nothing can be put beside the file.");
    }
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

// Each look at a row of these two would take hours. With something beside the file, the program
// asks for the chain before anything else.
std::string theChainComputes() {
    return refusal({"PRAGMA writable_schema=ON\nUPDATE sqlite_master SET sql = 'CREATE TABLE chain "
                    "(x, previous INTEGER AS (instr(zeroblob(40000000), CAST(zeroblob(20000000) || "
                    "x''01'' AS BLOB))), current INTEGER AS (1))' WHERE name = 'chain'"},
                   "\"chain\" is another one", true);
}

std::string statisticsCompute() {
    return refusal({"ANALYZE", "INSERT INTO sqlite_stat1 VALUES ('patient', NULL, '1')",
                    "PRAGMA writable_schema=ON\nUPDATE sqlite_master SET sql = 'CREATE TABLE "
                    "sqlite_stat1(tbl, stat, idx AS (instr(zeroblob(40000000), "
                    "CAST(zeroblob(20000000) || x''01'' AS BLOB))))' WHERE name = 'sqlite_stat1'"},
                   "table \"sqlite_stat1\"");
}

// Whoever tends the file may have made them.
std::string statisticsDoNoHarm() {
    (void)storedPatient("1");
    DataIOManager::closeRepository();
    (void)trustSql("ANALYZE");
    std::vector<QString> ids;
    return DataIOManager::patientIds(ids).text();
}

std::string aTableHasMoreBehindNul() {
    return refusal({"PRAGMA writable_schema=ON\nUPDATE sqlite_master SET sql = CAST(CAST(sql AS "
                    "BLOB) || x'00' || zeroblob(1000) AS TEXT) WHERE name = 'document'"},
                   "table \"document\" is another one");
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

QVariant trustSql(const char* statements) {
    QVariant value;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("beside"));
        database.setDatabaseName(trustRepository());
        QSqlQuery query(database.open() ? database : QSqlDatabase());
        for (const QString& statement : QString::fromLatin1(statements).split(QLatin1Char('\n')))
            if (!query.exec(statement))
                throw std::runtime_error(statement.toStdString());
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
        {"a file with a chain that computes", &theChainComputes},
        {"a file with statistics that compute", &statisticsCompute},
        {"a file with statistics", &statisticsDoNoHarm},
        {"a file with more behind a table's NUL", &aTableHasMoreBehindNul},
        {"a file without a table", &aTableIsMissing},
        {"a file of a newer version", &itIsNewer},
        {"a trigger made while the file is open", &aTriggerComesLater},
    };
}
