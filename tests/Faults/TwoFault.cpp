// Two workstations with one repository of patients.

#include "Faults.h"

#include "Child.h"
#include "Victims.h"

#include "DataUtils/FreePatientId.h"

#include <QtCore/QMap>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>

#include <cstdio>

namespace {

const QString sharedId = QStringLiteral("Shared");

// Each answers the number that it has made: the count as changed, and the new id.

CaError countOne(int& number) {
    DataPointer<Patient> patient(new Patient);
    const CaError error = loadPatientOf(sharedId, patient);
    if (error != CaError::nullError)
        return error;
    number = patient->name().toInt() + 1;
    patient->setName(QString::number(number));
    return DataIOManager::storePatient(patient);
}

CaError addOne(int& number) {
    std::vector<QString> ids;
    const CaError error = DataIOManager::patientIds(ids);
    if (error != CaError::nullError)
        return error;
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(vlr::firstFreePatientId(ids, Patient::getMaxPatientID()));
    number = patient->patientId().toInt();
    return DataIOManager::storePatient(patient);
}

struct Work {
    const char* name;
    CaError (*run)(int& number);
    const char* tooLate; ///< The error after which it is tried again.
};

const Work works[] = {
    {"changes", &countOne, DataIOManager::changedElsewhereError},
    {"new patients", &addOne, DataIOManager::idTakenError},
};

// Answers how often one went on where the other had been at work: not at all when the system ran
// one after the other.
long runBoth(const Work& work, long times, Report& report) {
    const QStringList arguments{QLatin1String(work.name), QString::number(times)};
    Child both[] = {Child(QStringLiteral("two"), arguments),
                    Child(QStringLiteral("two"), arguments)};
    for (Child& child : both)
        (void)child.readLine(); // It is ready.
    for (Child& child : both) {
        child.process().write("\n");
        child.process().waitForBytesWritten();
    }
    QMap<int, const Child*> makers;
    for (Child& child : both) {
        report.never("processes that failed", child.wait() != 0,
                     child.standardError().toStdString());
        for (QByteArray line = child.readLine(); !line.isEmpty(); line = child.readLine())
            if (const int number = line.trimmed().toInt(); number > 0)
                makers.insert(number, &child);
            else
                report.count(std::string(work.name) + " that came too late");
    }
    const QList<const Child*> sequence = makers.values();
    long turns = -1;
    for (int i = 1; i < sequence.size(); ++i)
        turns += sequence[i] != sequence[i - 1] ? 1 : 0;
    return std::max(turns, 0L);
}

// Again where they hardly met. Answers how much they have done in all.
long runUntilTheyMet(const Work& work, long times, Report& report) {
    constexpr int mostRounds = 20;
    const long enough = times / 10;
    long turns = 0;
    long rounds = 0;
    for (; turns < enough && rounds < mostRounds; ++rounds)
        turns += runBoth(work, times, report);
    report.count(std::string("turns of the two at ") + work.name, turns, enough);
    return 2 * times * rounds;
}

} // namespace

void faultTwo(Report& report) {
    const long times = report.extent(50, 1000);
    DataPointer<Patient> shared(new Patient);
    shared->setPatientId(sharedId);
    if (DataIOManager::storePatient(shared) != CaError::nullError)
        throw std::runtime_error("The shared patient cannot be stored.");
    const long changes = runUntilTheyMet(works[0], times, report);
    const long additions = runUntilTheyMet(works[1], times, report);

    DataIOManager::closeRepository();
    (void)loadPatientOf(sharedId, shared);
    std::vector<QString> ids;
    (void)DataIOManager::patientIds(ids);
    std::sort(ids.begin(), ids.end());
    const auto distinct = std::unique(ids.begin(), ids.end()) - ids.begin();
    report.never("lost updates", std::abs(changes - shared->name().toInt()));
    report.never("patients missing", std::abs(additions + 1 - distinct));
    report.never("duplicate ids", static_cast<long>(ids.size()) - distinct);
}

// Arguments: the work and how often it is to be done. Waits for a line before it begins, so that
// two work at the same time.
int actTwo(const QStringList& arguments) {
    const Work& work = named(works, arguments.value(0));
    std::vector<QString> ids;
    (void)DataIOManager::patientIds(ids); // Now the repository is open.
    std::puts("ready");
    std::fflush(stdout);
    (void)std::getchar();
    // Whoever is asleep after a save lets the other one in.
    QRandomGenerator random(1);
    for (long times = arguments.value(1).toLong(); times > 0;) {
        int number = 0;
        QThread::usleep(random.bounded(2000U));
        const CaError error = work.run(number);
        const bool isDone = error == CaError::nullError;
        if (!isDone && error.id() != work.tooLate)
            throw std::runtime_error(error.text());
        std::printf("%d\n", isDone ? number : 0);
        times -= isDone ? 1 : 0;
    }
    return 0;
}
