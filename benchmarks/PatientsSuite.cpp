// What the patient repository costs: listing, and the search for a free id.

#include "Suites.h"

#include "Suite.h"

#include "Data/Patient.h"
#include "DataUtils/FreePatientId.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>
#include <QtSql/QSqlRecord>

#include <memory>
#include <stdexcept>

namespace {

constexpr int patientCount = 10000;
constexpr double listAim = 1.2;
constexpr double idAim = 0.5;

void check(const CaError& error) {
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

// Everybody has the next number, which is where the search for a free one takes longest.
void fillRepository(long count) {
    for (int i = 0; i < count; ++i) {
        const DataPointer<Patient> patient(new Patient);
        patient->setPatientId(QStringLiteral("%1").arg(i, 7, 10, QLatin1Char('0')));
        patient->setName(QStringLiteral("Patient number %1, given names").arg(i));
        patient->setBirthDate(QDate(1950, 1, 1).addDays(i));
        check(DataIOManager::storePatient(patient));
    }
}

QString fileOf(const QTemporaryDir& folder, long count) {
    return folder.filePath(QStringLiteral("%1.sqlite").arg(count));
}

/// Makes the repository of that many patients the one in use; it is filled when it is first used.
void useRepository(const QTemporaryDir& folder, long count) {
    const QString file = fileOf(folder, count);
    const bool isNew = !QFile::exists(file);
    DataIOManager::closeRepository();
    check(vlr::Settings::set(QStringLiteral("Velora/Application/PatientRepository"),
                             QStringLiteral("sqlite:") + file));
    if (isNew)
        fillRepository(count);
}

void listAll(long count) {
    std::vector<MetaInformation> patients;
    check(DataIOManager::patientMetaInfoList(patients));
    if (patients.size() != static_cast<std::size_t>(count))
        throw std::runtime_error("The list is not complete.");
}

void findFreeId() {
    std::vector<QString> ids;
    check(DataIOManager::patientIds(ids));
    if (vlr::firstFreePatientId(ids, 1000000) != QLatin1String("0010000"))
        throw std::runtime_error("This is not the free id.");
}

// As one would write it: the same columns into the same kind of values.
void listBySql(QSqlDatabase& database) {
    QSqlQuery query(database);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT * FROM patient ORDER BY patient_id")))
        throw std::runtime_error(query.lastError().text().toStdString());
    std::vector<QStringList> rows;
    const int columns = query.record().count();
    while (query.next()) {
        QStringList row;
        for (int column = 0; column < columns; ++column)
            row << query.value(column).toString();
        rows.push_back(row);
    }
    if (rows.size() != patientCount)
        throw std::runtime_error("The list is not complete.");
}

void listPatients(benchmark::State& state, const QTemporaryDir& folder, long count) {
    useRepository(folder, count);
    for (auto _ : state)
        listAll(count);
}

} // namespace

void addPatients(Suite& suite) {
    const auto folder = std::make_shared<QTemporaryDir>();
    suite.compare(
        {"list", "listing 10,000 patients / one bare SQL query", listAim,
         [folder](benchmark::State& state) { listPatients(state, *folder, patientCount); },
         [folder](benchmark::State& state) {
             useRepository(*folder, patientCount);
             const QString name = QStringLiteral("bare");
             {
                 QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
                 database.setDatabaseName(fileOf(*folder, patientCount));
                 database.open();
                 for (auto _ : state)
                     listBySql(database);
             }
             QSqlDatabase::removeDatabase(name);
         }});
    suite.compare(
        {"free-id", "the next free id / listing 10,000 patients", idAim,
         [folder](benchmark::State& state) {
             useRepository(*folder, patientCount);
             for (auto _ : state)
                 findFreeId();
         },
         [folder](benchmark::State& state) { listPatients(state, *folder, patientCount); }});
    suite.grow(
        {"list-growth",
         "listing patients",
         {10, 100, 1000, 10000, 100000},
         [folder](benchmark::State& state) { listPatients(state, *folder, state.range(0)); }});
}
