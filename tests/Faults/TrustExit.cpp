// Ways out that nobody can answer, and copies of what is in use.

#include "Cases.h"
#include "Child.h"
#include "Faults.h"
#include "Storer.h"
#include "Trust.h"

#include "AppBase/AppBase.h"
#include "IO/DataIOManager.h"
#include "IO/RecoveryFile.h"
#include "IO/RepositoryBackup.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QSessionManager>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString typed = QStringLiteral("typed and not stored");
const QByteArray typedPart = QByteArrayLiteral("a part\0 that is nowhere else");

void need(const CaError& error) {
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

// A patient is stored, and has changes then.
DataPointer<Patient> changedPatient() {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("1"));
    need(DataIOManager::storePatient(patient));
    patient->setName(typed);
    patient->setBinaryPart(QStringLiteral("part"), typedPart);
    return patient;
}

// What is wrong with the patient of the repository.
std::string judgeStored() {
    std::vector<vlr::URI> uris;
    DataPointer<Patient> patient;
    QByteArray part;
    need(DataIOManager::patientList(uris));
    if (uris.size() != 1)
        return std::to_string(uris.size()) + " patients are stored";
    need(DataIOManager::loadPatient(uris.front(), patient));
    if (patient->name() != typed)
        return "his changes are lost";
    need(patient->binaryPart(QStringLiteral("part"), part));
    return part == typedPart ? "" : "his part is lost";
}

// Whether the changes are in a recovery file, and get from it into the repository.
std::string judgeRecovery() {
    const QStringList waiting = vlr::waitingRecoveries();
    if (waiting.size() != 1)
        return std::to_string(waiting.size()) + " recovery files are there";
    struct stat status = {};
    if (stat(QFile::encodeName(waiting.front()).constData(), &status) != 0 ||
        (status.st_mode & 0777U) != 0600U)
        return "others may read it";
    vlr::Recovery recovery;
    need(vlr::readRecovery(waiting.front(), recovery));
    if (vlr::isRecoveryStored(recovery))
        return "it is taken for stored";
    need(DataIOManager::storePatient(recovery.patient));
    if (!vlr::isRecoveryStored(recovery))
        return "it is not known as stored";
    return judgeStored();
}

std::string judgeConfiguration() {
    return QFile::exists(DataIOManager::configurationPath(QStringLiteral("AppBase")))
               ? ""
               : "the configuration is not stored";
}

// The program in its loop, with changes that are not stored.
class Program {
public:
    explicit Program(const char* kind = "", const QStringList& environment = {})
        : m_child(QStringLiteral("leave"), {QLatin1String(kind)}, environment) {
        if (m_child.readLine() != "ready\n")
            throw std::runtime_error("The program does not start: " +
                                     m_child.standardError().toStdString());
    }
    void tellToEnd() { m_child.process().terminate(); }
    Child& child() { return m_child; }

private:
    Child m_child;
};

class Lock {
public:
    Lock() : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name())) {
        m_database.setDatabaseName(trustRepository());
        if (!m_database.open() || !QSqlQuery(m_database).exec(QStringLiteral("BEGIN IMMEDIATE")))
            throw std::runtime_error("The repository cannot be locked.");
    }
    ~Lock() {
        m_database.close();
        m_database = {};
        QSqlDatabase::removeDatabase(name());
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    static QString name() { return QStringLiteral("lock"); }
    QSqlDatabase m_database;
};

std::string aSignalComesWhileItIsLocked() {
    {
        Program program;
        const Lock lock;
        program.tellToEnd();
        if (const int status = program.child().wait())
            return "it ends with " + std::to_string(status);
    }
    const std::string wrong = judgeConfiguration();
    return wrong.empty() ? judgeRecovery() : wrong;
}

std::string aSecondSignalComes() {
    {
        Program program;
        const Lock lock;
        program.tellToEnd();
        // Another one, since two of a kind may come as one.
        kill(static_cast<pid_t>(program.child().process().processId()), SIGHUP);
        (void)program.child().wait();
        if (!program.child().standardError().contains("as it was told again"))
            return "it does not end at once";
    }
    const std::string wrong = judgeConfiguration();
    return wrong.empty() ? judgeRecovery() : wrong;
}

// The user does not matter here, and it takes ten seconds.
std::string itNeverEnds() {
    if (geteuid() == 0) {
        reportDone("not run: a program that would not end as root: as an ordinary user only");
        return {};
    }
    Program program("hang");
    program.tellToEnd();
    (void)program.child().wait();
    return program.child().standardError().contains("took more than 10 seconds")
               ? judgeStored()
               : "it is not ended by its watchdog";
}

std::string theDisplayEnds() {
    const QString server = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (server.isEmpty()) {
        reportNotRun("the end of the display: needs Xvfb");
        return {};
    }
    QProcess display;
    display.start(server, {QStringLiteral("-displayfd"), QStringLiteral("1"),
                           QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    while (!display.canReadLine())
        if (!display.waitForReadyRead()) {
            reportNotRun("the end of the display: this user may not start Xvfb");
            return {};
        }
    const QString number = QString::fromLatin1(display.readLine()).trimmed();
    Program program("",
                    {QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral("DISPLAY=:") + number});
    display.kill();
    display.waitForFinished();
    const int status = program.child().wait();
    if (status < 0)
        return "it breaks down with the signal " + std::to_string(-status);
    const std::string wrong = judgeConfiguration();
    if (!vlr::waitingRecoveries().isEmpty())
        return "a recovery file is left";
    return wrong.empty() ? judgeStored() : wrong;
}

std::string theSessionEnds() {
    Program program("session");
    if (const int status = program.child().wait())
        return "it ends with " + std::to_string(status);
    return judgeStored();
}

// Which may then be killed, or go on.
std::string theSessionAsksToStore() {
    {
        Program program("commit");
        (void)program.child().kill();
    }
    const std::string wrong = judgeConfiguration();
    if (!vlr::waitingRecoveries().isEmpty())
        return "a recovery file is left";
    return wrong.empty() ? judgeStored() : wrong;
}

std::string recoveriesAreNobodys() {
    QString path;
    need(vlr::writeRecovery(changedPatient(), path));
    vlr::Recovery recovery;
    const QByteArray name = QFile::encodeName(path);
    const auto isUsed = [&] {
        return !vlr::waitingRecoveries().isEmpty() ||
               vlr::readRecovery(path, recovery) == CaError::nullError;
    };
    (void)chmod(name.constData(), 0666);
    if (isUsed())
        return "one that everybody may write is used";
    (void)chmod(name.constData(), 0600);
    if (geteuid() == 0) {
        need(chown(name.constData(), nobody, nobody) == 0 ? CaError() : CaError("chown", "chown"));
        if (isUsed())
            return "another user's is used";
        (void)chown(name.constData(), 0, 0);
    }
    const QByteArray target = name + ".target";
    if (rename(name.constData(), target.constData()) != 0 ||
        symlink(target.constData(), name.constData()) != 0 || isUsed())
        return "one behind a link is used";
    (void)rename(target.constData(), name.constData());
    // Another letter, which is as good as the first one to all but the checksum.
    QFile file(path);
    (void)file.open(QIODevice::ReadWrite);
    const int place = file.readAll().indexOf(typed.toUtf8());
    (void)file.seek(place);
    file.putChar('T');
    file.close();
    return place > 0 && vlr::readRecovery(path, recovery).id() == vlr::damagedRecoveryError
               ? ""
               : "a damaged one is read";
}

std::string aBackupIsMadeOfARunningProgram() {
    const QString backup = QDir::homePath() + QStringLiteral("/backup");
    QString summary;
    {
        Program program;
        need(vlr::backUpRepository(trustRepository(), backup, {}, summary));
        const CaError error = vlr::restoreRepository(backup, trustRepository(), {}, summary);
        if (error.text().find("in use by another program") == std::string::npos)
            return "it is replaced under a running program: " + error.text();
        program.tellToEnd();
        (void)program.child().wait();
    }
    std::string wrong = judgeStored();
    if (!wrong.empty())
        return wrong;
    DataIOManager::closeRepository();
    need(vlr::restoreRepository(backup, trustRepository(), {}, summary));
    return judgeStored() == "his changes are lost" ? "" : "the backup is not what it was";
}

} // namespace

std::vector<TrustCase> trustExit() {
    return {
        {"a signal while the repository is locked", &aSignalComesWhileItIsLocked},
        {"a second signal while the repository is locked", &aSecondSignalComes},
        {"a program that would not end", &itNeverEnds},
        {"the end of the display", &theDisplayEnds},
        {"the end of the session", &theSessionEnds},
        {"a session that asks to store", &theSessionAsksToStore},
        {"recovery files that are not what they were", &recoveriesAreNobodys},
        {"a backup of a running program", &aBackupIsMadeOfARunningProgram},
    };
}

// A program with a changed patient, which is told by its kind what happens to it.
int actLeave(const QStringList& arguments) {
    int argumentCount = 1;
    char name[] = "vlrFaults";
    char* argumentVector[] = {name, nullptr};
    for (const int number : {SIGTERM, SIGHUP}) // Whoever started this may have them ignored.
        std::signal(number, SIG_DFL);
    AppBase application(argumentCount, argumentVector);
    AppBase::setCurrentPatient(changedPatient());
    const QString kind = arguments.value(0);
    if (kind == QLatin1String("hang"))
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [] {
            for (;;)
                pause();
        });
    QTimer::singleShot(0, qApp, [kind] {
        // Nobody looks at the session manager, of which only Qt can make one.
        auto* const itself = static_cast<QGuiApplication*>(QCoreApplication::instance());
        if (kind == QLatin1String("commit"))
            emit itself->commitDataRequest(*reinterpret_cast<QSessionManager*>(itself));
        std::printf("ready\n");
        std::fflush(stdout);
        if (kind == QLatin1String("session"))
            QCoreApplication::exit(); // As Qt does at the end of a session.
    });
    return application.run();
}
