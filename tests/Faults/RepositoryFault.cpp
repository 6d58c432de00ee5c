// The repository goes away while somebody types.

#include "Faults.h"

#include "Desk.h"
#include "QuietLog.h"
#include "Stall.h"
#include "Victims.h"

#include "AppBase/AppBase.h"

#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

namespace {

constexpr long busyTimeout = 5000; // milliseconds, as the store has it

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
    QSqlDatabase::database(otherName).close(); // and with it the transaction
    QSqlDatabase::removeDatabase(otherName);
}

// Whoever does this must be alone; the program under test opens the repository afterwards.
void lockForAll() {
    DataIOManager::closeRepository();
    run({"PRAGMA locking_mode=EXCLUSIVE", "BEGIN EXCLUSIVE"});
}

void writeGarbage(QIODevice::OpenMode mode) {
    const QByteArray garbage = QByteArray("This is no database. ").repeated(5000);
    QFile target(file());
    if (!target.open(mode) || target.write(garbage) != garbage.size())
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
    bool isLock = false;
    bool isInShortForm = true;
};

const Harm harms[] = {
    {"locked", [] { run({"BEGIN EXCLUSIVE"}); }, &unlock, true},
    {"locked for readers too", &lockForAll, &unlock, true, false},
    {"deleted", &removeFiles, &restore},
    {"folder deleted", [] { QDir(QFileInfo(file()).path()).removeRecursively(); }, &restore},
    {"replaced by garbage",
     [] {
         QFile::remove(file());
         writeGarbage(QIODevice::WriteOnly);
     },
     &restore},
    {"overwritten by garbage", [] { writeGarbage(QIODevice::ReadWrite); }, &restore},
    {"emptied", [] { QFile::resize(file(), 0); }, &restore},
};

// --- somebody who types

const QString oldName = QStringLiteral("Old");
const QString typedName = QStringLiteral("Typed with care");

// Closes a message box, if one is open.
bool readMessage() {
    const auto dialog = modalDialog();
    const bool isMessage = dialog && dialog->inherits("QMessageBox");
    if (isMessage)
        dialog->accept();
    return isMessage;
}

struct Session {
    const Harm& harm;
    DataPointer<Patient> patient{new Patient};
    QString id = QStringLiteral("1");
    bool isInflicted = false;
    bool isJudged = false;
    std::string wrong = {};

    void prepare();
    void inflict() {
        harm.inflict();
        isInflicted = true;
    }
    void heal() {
        if (std::exchange(isInflicted, false))
            harm.heal();
    }
    void note(Stall& stall);
    void expect(bool isTrue, const char* otherwise) {
        if (!isTrue)
            wrong += (wrong.empty() ? "" : ", ") + std::string(otherwise);
    }
    [[nodiscard]] bool isStored() const;

    void fillForm(bool isNew, bool isEarly);
    void type(QDialog& dialog, bool isNew);
    void judge(QDialog& dialog, bool isNew);
    void endApplication();
    void ask(const std::function<CaError()>& question, const std::function<bool()>& isRight);
};

long worstStall = 0; // of all of them, beyond what a lock takes

void Session::note(Stall& stall) {
    const long beyond = stall.longest() - (harm.isLock ? busyTimeout : 0);
    worstStall = std::max(worstStall, beyond);
    expect(isSanitized || beyond <= longestStall, "the window stood still for too long");
}

void Session::prepare() {
    DataIOManager::closeRepository();
    removeFiles();
    patient->setPatientId(id);
    patient->setName(oldName);
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    DataIOManager::closeRepository();
    QFile::remove(copyOfFile());
    QFile::copy(file(), copyOfFile());
    std::vector<QString> ids; // It is open now, as in a program that runs.
    (void)DataIOManager::patientIds(ids);
}

bool Session::isStored() const {
    DataIOManager::closeRepository();
    std::vector<MetaInformation> patients;
    (void)DataIOManager::patientMetaInfoList(patients);
    return std::any_of(patients.begin(), patients.end(), [&](const MetaInformation& each) {
        return each.value(QStringLiteral("id")) == id &&
               each.value(QStringLiteral("name")) == typedName;
    });
}

// What is on the screen after a store that failed.
void Session::judge(QDialog& dialog, bool isNew) {
    const auto text = [&](const char* line) {
        return dialog.findChild<QLineEdit*>(QLatin1String(line))->text();
    };
    expect(text("patientName") == typedName && text("patientId") == id,
           "the form has not what was typed any more");
    expect(isNew || patient->name() == oldName, "the patient has what was not stored");
    bool isTold = false;
    for (const char* line : {"storeError", "idMessage", "nameMessage"})
        isTold = isTold || dialog.findChild<QWidget*>(QLatin1String(line))->isVisible();
    expect(isTold, "nobody was told");
}

void Session::type(QDialog& dialog, bool isNew) {
    const auto store = [&] {
        Stall stall;
        dialog.findChild<QPushButton*>(QStringLiteral("ok"))->click();
        note(stall);
    };
    if (isNew)
        dialog.findChild<QLineEdit*>(QStringLiteral("patientId"))->setText(id);
    dialog.findChild<QLineEdit*>(QStringLiteral("patientName"))->setText(typedName);
    if (!isInflicted)
        inflict();
    store();
    if (dialog.isVisible()) {
        judge(dialog, isNew);
        heal();
        store();
        expect(!dialog.isVisible(), "it cannot be stored when the repository is back");
    }
    expect(isStored(), "acknowledged, but not stored");
    isJudged = true;
    dialog.hide();
}

void Session::fillForm(bool isNew, bool isEarly) {
    if (isNew) {
        patient = new Patient;
        id = QStringLiteral("P7");
    }
    DataFactory::DialogOptions options;
    options.store = [this] { return DataIOManager::storePatient(patient); };
    if (isEarly)
        inflict();
    Stall opening;
    bool isTyped = false;
    const EveryTurn user([&] {
        const auto dialog = modalDialog();
        if (!dialog || readMessage() || std::exchange(isTyped, true))
            return;
        note(opening);
        type(*dialog, isNew);
    });
    (void)DataFactory::displayConfigurationDialog(patient.get(), nullptr, options);
}

// It ends whatever the result; but what could not be stored is not lost without a word.
void Session::endApplication() {
    bool isTold = false;
    const EveryTurn user([&] { isTold = readMessage() || isTold; });
    AppBase::setCurrentPatient(patient);
    patient->setName(typedName);
    QTimer::singleShot(0, qApp, [&] {
        inflict();
        Stall stall;
        AppBase::instance()->exitApplication();
        note(stall);
    });
    AppBase::instance()->run();
    expect(isTold || isStored(), "lost without a word");
    isJudged = isInflicted;
}

// Whatever else a program asks of the repository.
void Session::ask(const std::function<CaError()>& question, const std::function<bool()>& isRight) {
    DataIOManager::closeRepository();
    inflict();
    Stall stall;
    const CaError error = question();
    note(stall);
    expect(error != CaError::nullError || isRight(), "it is untrue, and nobody was told");
    isJudged = true;
}

struct Way {
    const char* name;
    void (*go)(Session&);
    bool waitsInShortForm = false; // for a lock
};

const Way ways[] = {
    {"new patient", [](Session& s) { s.fillForm(true, false); }, true},
    {"new patient, before the form opens", [](Session& s) { s.fillForm(true, true); }},
    {"stored patient", [](Session& s) { s.fillForm(false, false); }},
    {"stored patient, before the form opens", [](Session& s) { s.fillForm(false, true); }},
    {"end of the application", [](Session& s) { s.endApplication(); }, true},
    {"list of patients",
     [](Session& s) {
         std::vector<MetaInformation> patients;
         // One that was deleted is replaced by an empty one, with a warning in the log.
         s.ask([&] { return DataIOManager::patientMetaInfoList(patients); },
               [&] { return patients.size() == 1 || !s.harm.isLock; });
     }},
    {"loading",
     [](Session& s) {
         DataPointer<Patient> loaded;
         s.ask([&] { return DataIOManager::loadPatient(s.patient->storage().uri, loaded); },
               [&] { return loaded && loaded->name() == oldName; });
     }},
    {"removal",
     [](Session& s) {
         std::vector<MetaInformation> patients;
         s.ask([&] { return DataIOManager::removePatient(s.patient->storage().uri); },
               [&] {
                   return DataIOManager::patientMetaInfoList(patients) == CaError::nullError &&
                          patients.empty();
               });
     }},
};

struct Case {
    const Harm& harm;
    const Way& way;
};

std::vector<Case> allCases(bool isLong) {
    std::vector<Case> all;
    for (const Harm& harm : harms)
        for (const Way& way : ways)
            if (isLong || (harm.isInShortForm && (!harm.isLock || way.waitsInShortForm)))
                all.push_back({harm, way});
    return all;
}

std::string go(const Case& one) {
    nameCase(std::string(one.harm.name) + ", " + one.way.name);
    vlrTest::CommandLine line;
    AppBase application(line.count, line.words);
    linkPatientForm();
    Session session{one.harm};
    session.prepare();
    one.way.go(session);
    session.heal();
    session.expect(session.isJudged, "nothing was judged");
    DataIOManager::closeRepository();
    return session.wrong;
}

} // namespace

int actRepository(const QStringList& arguments) {
    const QuietLog quiet;
    const std::vector<Case> all = allCases(isLongForm());
    return doCases(arguments, [&](long number) {
        const std::string wrong = go(all[static_cast<std::size_t>(number)]);
        if (number + 1 == static_cast<long>(all.size()))
            reportStall("beyond the busy timeout", worstStall);
        return wrong;
    });
}

void faultRepository(Report& report) {
    const std::size_t count = allCases(report.isLong()).size();
    report.done(std::to_string(count) +
                " forms, questions and ends while the repository was locked, deleted or replaced");
    demandCases(report, "repository", count, "typed data lost, failures that nobody was told");
}
