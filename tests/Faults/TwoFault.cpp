// Two workstations with one repository of patients.

#include "Faults.h"

#include "Child.h"

#include "DataUtils/FreePatientId.h"
#include "IO/DataIOManager.h"

#include <QtCore/QSet>

#include <cstdio>

namespace {

const QString sharedId = QStringLiteral("Shared");

int fail(const CaError& error) {
    std::fprintf(stderr, "%s\n", error.text().c_str());
    return 1;
}

CaError loadShared(DataPointer<Patient>& patient) {
    std::vector<MetaInformation> patients;
    const CaError error = DataIOManager::patientMetaInfoList(patients);
    for (const MetaInformation& known : patients)
        if (known.value(QStringLiteral("id")) == sharedId)
            return DataIOManager::loadPatient(known.uri(), patient);
    return error == CaError::nullError ? CaError("Two", "The shared patient is gone.") : error;
}

CaError countOne() {
    DataPointer<Patient> patient;
    CaError error = loadShared(patient);
    if (error != CaError::nullError)
        return error;
    patient->setName(QString::number(patient->name().toInt() + 1));
    return DataIOManager::storePatient(patient);
}

CaError addOne() {
    std::vector<QString> ids;
    const CaError error = DataIOManager::patientIds(ids);
    if (error != CaError::nullError)
        return error;
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(vlr::firstFreePatientId(ids, Patient::getMaxPatientID()));
    return DataIOManager::storePatient(patient);
}

// Until it has been done so often; who comes too late tries again.
int repeat(long times, const char* tooLate, CaError (*work)()) {
    for (long done = 0; done < times;) {
        const CaError error = work();
        if (error != CaError::nullError && error.id() != tooLate)
            return fail(error);
        done += error == CaError::nullError ? 1 : 0;
        if (error != CaError::nullError)
            std::puts("late");
    }
    return 0;
}

// How often one came too late.
long runBoth(const QString& act, long times, Report& report) {
    const QStringList arguments(QString::number(times));
    Child first(act, arguments);
    Child second(act, arguments);
    long late = 0;
    for (Child* child : {&first, &second}) {
        const int status = child->wait();
        if (status != 0)
            report.problem(child->standardError().toStdString());
        report.atMost("status of a process", status, 0);
        late += child->process().readAllStandardOutput().count("late");
    }
    return late;
}

} // namespace

void faultTwo(Report& report) {
    const long times = report.extent(50, 1000);
    DataPointer<Patient> shared(new Patient);
    shared->setPatientId(sharedId);
    const CaError error = DataIOManager::storePatient(shared);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    const long lateCounts = runBoth(QStringLiteral("count"), times, report);
    const long lateIds = runBoth(QStringLiteral("add"), times, report);

    DataIOManager::closeRepository();
    (void)loadShared(shared);
    std::vector<QString> ids;
    (void)DataIOManager::patientIds(ids);
    QSet<int> numbers;
    for (const QString& id : ids)
        if (id != sharedId)
            numbers.insert(id.toInt());
    report.done("twice " + std::to_string(times) + " changes of one patient (" +
                std::to_string(lateCounts) + " more came too late) and new patients (" +
                std::to_string(lateIds) + ")");
    const long expected = 2 * times;
    report.atMost("lost updates", std::abs(expected - shared->name().toInt()), 0);
    report.atMost("patients missing", std::abs(expected + 1 - static_cast<long>(ids.size())), 0);
    report.atMost("duplicate ids", static_cast<long>(ids.size()) - 1 - numbers.size(), 0);
}

int actCount(const QStringList& arguments) {
    return repeat(arguments.value(0).toLong(), DataIOManager::changedElsewhereError, &countOne);
}

int actAdd(const QStringList& arguments) {
    return repeat(arguments.value(0).toLong(), DataIOManager::idTakenError, &addOne);
}
