// The repository goes away while somebody types.

#include "Faults.h"

#include "Cases.h"
#include "QuietLog.h"
#include "Stall.h"
#include "Victims.h"

#include "DataUtils/DataFactory.h"
#include "DataUtils/QtPatientConfigurationWidget.h"
#include "IO/DataIOManager.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include <algorithm>

namespace {

constexpr long busyTimeout = 5000; // milliseconds, as the store has it
constexpr long longestStall = 100; // beyond that

QString file() {
    return victim(QStringLiteral("patient")).file();
}

QString copyOfFile() {
    return QDir::homePath() + QStringLiteral("/copy.sqlite");
}

void removeFiles() {
    for (const char* end : {"", "-wal", "-shm"})
        QFile::remove(file() + QLatin1String(end));
}

// --- harms

const QString otherName = QStringLiteral("other");

void run(const std::initializer_list<const char*>& statements) {
    QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), otherName);
    other.setDatabaseName(file());
    bool isGood = other.open();
    for (const char* statement : statements)
        isGood = isGood && QSqlQuery(other).exec(QLatin1String(statement));
    if (!isGood)
        throw std::runtime_error("The repository cannot be locked.");
}

void unlock() {
    {
        QSqlDatabase other = QSqlDatabase::database(otherName);
        (void)QSqlQuery(other).exec(QStringLiteral("ROLLBACK"));
        other.close();
    }
    QSqlDatabase::removeDatabase(otherName);
}

void lock() {
    run({"BEGIN EXCLUSIVE"});
}

// Whoever does this must be alone; the program under test opens the repository afterwards.
void lockForAll() {
    DataIOManager::closeRepository();
    run({"PRAGMA locking_mode=EXCLUSIVE", "BEGIN EXCLUSIVE"});
}

QByteArray garbage() {
    return QByteArray("This is no database. ").repeated(5000);
}

void overwrite(const QByteArray& bytes, bool inPlace) {
    QFile target(inPlace ? file() : file() + QStringLiteral(".new"));
    const bool isGood = target.open(inPlace ? QIODevice::ReadWrite : QIODevice::WriteOnly) &&
                        target.write(bytes) == bytes.size() && target.flush();
    target.close();
    if (!isGood || (!inPlace && !(QFile::remove(file()) && target.rename(file()))))
        throw std::runtime_error("The repository cannot be replaced.");
}

void restore() {
    QDir().mkpath(QFileInfo(file()).path());
    removeFiles();
    if (!QFile::copy(copyOfFile(), file()))
        throw std::runtime_error("The repository cannot be restored.");
}

struct Harm {
    const char* name;
    void (*inflict)();
    void (*heal)();
    bool isLock;
    bool isInShortForm;
};

const Harm harms[] = {
    {"locked", &lock, &unlock, true, true},
    {"locked for readers too", &lockForAll, &unlock, true, false},
    {"deleted", &removeFiles, &restore, false, true},
    {"folder deleted", [] { QDir(QFileInfo(file()).path()).removeRecursively(); }, &restore, false,
     true},
    {"replaced by garbage", [] { overwrite(garbage(), false); }, &restore, false, true},
    {"overwritten by garbage", [] { overwrite(garbage(), true); }, &restore, false, true},
    {"emptied", [] { QFile::resize(file(), 0); }, &restore, false, true},
};

// --- somebody who types

struct Results {
    long worstStall = 0;
    long lost = 0;
    long untold = 0;
    long cases = 0;
};

const QString oldName = QStringLiteral("Old");

struct Typist {
    const Harm& harm;
    bool isNew;   // or edits a stored patient
    bool isEarly; // The harm is there before the form.
    Results& results;
    Report& report;

    QString typedId = QStringLiteral("P7");
    QString typedName = QStringLiteral("Typed with care");
    DataPointer<Patient> patient{new Patient};

    void run();

private:
    void prepare();
    void type(QDialog& dialog);
    void press(QDialog& dialog);
    void judge(QDialog& dialog);
    [[nodiscard]] bool isStored() const;
    void noteStall(long stall);
    void lose(const char* how);
    [[nodiscard]] std::string name() const {
        return std::string(harm.name) + (isNew ? ", new patient" : ", stored patient") +
               (isEarly ? ", before the form opens" : "");
    }
};

void Typist::noteStall(long stall) {
    results.worstStall = std::max(results.worstStall, stall - (harm.isLock ? busyTimeout : 0));
    if (stall > (harm.isLock ? busyTimeout : 0) + longestStall)
        report.problem(name() + ": a stall of " + std::to_string(stall) + " ms");
}

void Typist::lose(const char* how) {
    ++results.lost;
    report.problem(name() + ": " + how);
}

void Typist::prepare() {
    DataIOManager::closeRepository();
    removeFiles();
    patient->setPatientId(QStringLiteral("1"));
    patient->setName(oldName);
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    DataIOManager::closeRepository();
    QFile::remove(copyOfFile());
    QFile::copy(file(), copyOfFile());
    if (isNew)
        patient = new Patient;
    else
        typedId = patient->patientId();
    std::vector<QString> ids; // It is open now, as in a program that runs.
    (void)DataIOManager::patientIds(ids);
}

bool Typist::isStored() const {
    DataIOManager::closeRepository();
    std::vector<MetaInformation> patients;
    (void)DataIOManager::patientMetaInfoList(patients);
    return std::any_of(patients.begin(), patients.end(), [&](const MetaInformation& each) {
        return each.value(QStringLiteral("id")) == typedId &&
               each.value(QStringLiteral("name")) == typedName;
    });
}

void Typist::type(QDialog& dialog) {
    if (isNew)
        dialog.findChild<QLineEdit*>(QStringLiteral("patientId"))->setText(typedId);
    dialog.findChild<QLineEdit*>(QStringLiteral("patientName"))->setText(typedName);
}

void Typist::press(QDialog& dialog) {
    Stall stall;
    dialog.findChild<QPushButton*>(QStringLiteral("ok"))->click();
    noteStall(stall.longest());
}

// What is on the screen after a store that failed.
void Typist::judge(QDialog& dialog) {
    if (dialog.findChild<QLineEdit*>(QStringLiteral("patientName"))->text() != typedName ||
        dialog.findChild<QLineEdit*>(QStringLiteral("patientId"))->text() != typedId)
        lose("the form has not what was typed any more");
    if (!isNew && patient->name() != oldName)
        lose("the patient has what was not stored");
    bool isTold = false;
    for (const char* line : {"storeError", "idMessage", "nameMessage"})
        isTold = isTold || dialog.findChild<QWidget*>(QLatin1String(line))->isVisible();
    if (!isTold) {
        ++results.untold;
        report.problem(name() + ": nobody was told");
    }
}

void Typist::run() {
    ++results.cases;
    prepare();
    DataFactory::DialogOptions options;
    options.store = [this] { return DataIOManager::storePatient(patient); };
    if (isEarly)
        harm.inflict();
    Stall stall;
    QTimer::singleShot(0, qApp, [&] {
        noteStall(stall.longest());
        const QPointer<QDialog> dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return lose("there is no form");
        type(*dialog);
        if (!isEarly)
            harm.inflict();
        press(*dialog);
        const bool isAcknowledged = !dialog->isVisible();
        if (!isAcknowledged)
            judge(*dialog);
        else if (!isStored())
            lose("acknowledged, but not stored");
        harm.heal();
        if (isAcknowledged)
            return;
        press(*dialog);
        if (dialog->isVisible())
            lose("it cannot be stored when the repository is back");
        else if (!isStored())
            lose("acknowledged when the repository is back, but not stored");
        dialog->hide();
    });
    (void)DataFactory::displayConfigurationDialog(patient.get(), nullptr, options);
}

// Whatever else a program asks of the repository.
void askAll(const Harm& harm, Results& results, Report& report) {
    Typist asker{harm, false, true, results, report};
    DataPointer<Patient> patient;
    std::vector<MetaInformation> patients;
    vlr::URI uri;
    const std::function<CaError()> questions[] = {
        [&] { return DataIOManager::patientMetaInfoList(patients); },
        [&] { return DataIOManager::loadPatient(uri, patient); },
        [&] { return DataIOManager::removePatient(uri); },
    };
    for (const auto& question : questions) {
        const DataPointer<Patient> stored(new Patient);
        stored->setPatientId(QStringLiteral("1"));
        removeFiles();
        DataIOManager::closeRepository();
        if (DataIOManager::storePatient(stored) != CaError::nullError)
            throw std::runtime_error("There is no repository to begin with.");
        uri = stored->storageUri();
        DataIOManager::closeRepository();
        QFile::remove(copyOfFile());
        QFile::copy(file(), copyOfFile());
        harm.inflict();
        Stall stall;
        (void)question();
        const long waited = stall.longest();
        results.worstStall = std::max(results.worstStall, waited - (harm.isLock ? busyTimeout : 0));
        if (waited > (harm.isLock ? busyTimeout : 0) + longestStall)
            report.problem(std::string(harm.name) + ", question " +
                           std::to_string(&question - questions) + ": a stall of " +
                           std::to_string(waited) + " ms");
        harm.heal();
        ++results.cases;
    }
}

} // namespace

void faultRepository(Report& report) {
    const QuietLog quiet;
    createQtPatientConfigurationWidgetFactory();
    linkDataToWidget(Patient::className, "QtPatientConfigurationWidget", "", 1, "");
    Results results;
    for (const Harm& harm : harms) {
        if (!report.isLong() && !harm.isInShortForm)
            continue;
        for (const bool isNew : {true, false})
            for (const bool isEarly : {false, true}) {
                const bool isSlow = harm.isLock && (!isNew || isEarly);
                if (report.isLong() || !isSlow)
                    Typist{harm, isNew, isEarly, results, report}.run();
            }
        if (report.isLong())
            askAll(harm, results, report);
    }
    DataIOManager::closeRepository();
    report.done(std::to_string(results.cases) +
                " forms and questions while the repository was locked, deleted or replaced");
    report.atMost("typed data lost", results.lost, 0);
    report.atMost("failures that nobody was told", results.untold, 0);
    if (isSanitized)
        report.done("stall beyond the busy timeout [ms]: " + std::to_string(results.worstStall) +
                    " (not judged: a sanitizer)");
    else
        report.atMost("stall of the event loop beyond the busy timeout [ms]", results.worstStall,
                      longestStall);
}
