// Files, folders and links of other users, and rights that are too wide.

#include "Cases.h"
#include "Storer.h"
#include "Trust.h"

#include "AppBase/Dialogs/SplashScreen.h"
#include "AppBase/QtScreenShotData.h"
#include "Files/DurableFile.h"
#include "Files/PatientFile.h"
#include "IO/DataIOManager.h"
#include "IO/RepositoryBackup.h"
#include "Log/vlrLog.h"
#include "SelfCheck/CheckList.h"
#include "SelfCheck/SelfCheck.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

#include <grp.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString key = QStringLiteral("Velora/Application/");

QString home(const char* name = "") {
    return QDir::homePath() + QLatin1Char('/') + QLatin1String(name);
}

QByteArray encoded(const QString& path) {
    return QFile::encodeName(path);
}

void put(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("The test's own files cannot be written.");
}

QByteArray content(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("not there");
}

struct stat statusOf(const QString& path) {
    struct stat status = {};
    lstat(encoded(path).constData(), &status);
    return status;
}

// --- the self-check

std::string theSelfCheckChangesNothing() {
    const QString victim = home("victim");
    put(victim, "precious");
    const QString probe = QStringLiteral("/.self-check-%1").arg(getpid());
    for (const QString& folder :
         {QDir::tempPath(), QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)}) {
        QDir().mkpath(folder);
        QFile::link(victim, folder + probe);
    }
    const QStringList before = trustInventory();
    vlr::Log::setFileEnabled(false);
    CheckList list;
    checkSite(list);
    vlr::Log::setFileEnabled(true);
    if (list.count() == 0 || !list.isGood())
        return "the check finds faults";
    return trustInventory() == before ? "" : "something was changed";
}

struct Ended {
    int code = -1;
    std::string errors;
};

Ended navigator(const QStringList& arguments, const QProcessEnvironment& environment) {
    QProcess program;
    program.setWorkingDirectory(home("empty"));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(VLR_NAVIGATOR), arguments);
    if (!program.waitForFinished() || program.exitStatus() != QProcess::NormalExit)
        return {};
    return {program.exitCode(), program.readAllStandardError().toStdString()};
}

// Root with the home of a user, and a user with that of root.
std::string theSelfCheckLeavesForeignFoldersAlone() {
    QDir().mkpath(home("empty"));
    if (!foreignFolderProblem().isEmpty())
        return "one's own folders are refused";
    const bool isRoot = geteuid() == 0;
    const QString foreign = isRoot ? home("foreign") : QStringLiteral("/etc");
    QDir().mkpath(foreign);
    if (isRoot && chown(encoded(foreign).constData(), nobody, nobody) != 0)
        return "the test's own folder cannot be given away";
    // What is not there would be made below it.
    const struct {
        const char* place;
        QString path;
    } foreignPlaces[] = {{"HOME", foreign},
                         {"XDG_CONFIG_HOME", foreign + QStringLiteral("/missing")},
                         {"XDG_DATA_HOME", foreign + QStringLiteral("/missing")}};
    for (const auto& one : foreignPlaces) {
        if (!isRoot && one.path != foreign)
            continue; // What is above may well be the system's.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(one.place), one.path);
        for (const QStringList& work : {QStringList{QStringLiteral("--self-check")},
                                        QStringList{QStringLiteral("--backup"), home("backup")},
                                        QStringList{QStringLiteral("--restore"), home("backup")}}) {
            const QStringList before = trustInventory();
            const Ended check = navigator(work, environment);
            if (check.code != 1 || check.errors.find("belongs to the user") == std::string::npos)
                return std::string(one.place) + " is not refused: " + check.errors;
            if (trustInventory() != before)
                return std::string(one.place) + ": something was made";
        }
    }
    return {};
}

// --- links and rights

std::string linksOfOthersAreNotFollowed() {
    const QString victim = home("theirs/victim");
    put(victim, "precious");
    const bool isRoot = geteuid() == 0;
    const auto give = [&](const QString& path) {
        if (isRoot && lchown(encoded(path).constData(), nobody, nobody) != 0)
            throw std::runtime_error("The rights of the test's own files cannot be set.");
    };
    const QString theirs = isRoot ? victim : QStringLiteral("/etc/passwd");
    give(victim);
    give(home("theirs"));
    put(home("own"), "old");
    QFile::link(theirs, home("toTheirs"));
    QFile::link(home(isRoot ? "theirs/new" : "../../../../../../../../new"), home("toNew"));
    QFile::link(home("own"), home("theirLink"));
    give(home("theirLink"));
    for (const char* link : {"toTheirs", "toNew", "theirLink"}) {
        if (!isRoot && link == std::string("theirLink"))
            continue;
        const std::string text = vlr::writeDurably(home(link), "new").text();
        if (text.find("is a symbolic link") == std::string::npos ||
            text.find("belongs to the user \"") == std::string::npos)
            return std::string(link) + " is followed: " + text;
    }
    QString keptAs;
    if (vlr::keepAside(home("toTheirs"), keptAs) != CaError::nullError || !QFile::exists(theirs))
        return "the target of a link is set aside: " + keptAs.toStdString();
    return content(victim) == "precious" && content(home("own")) == "old" ? "" : "it is written";
}

std::string wrongRights(const QString& path, unsigned mode, gid_t group, const char* what) {
    const struct stat status = statusOf(path);
    if (status.st_gid != group)
        return std::string(what) + " is of the group " + std::to_string(status.st_gid);
    return (status.st_mode & 07777U) == mode
               ? ""
               : std::string(what) + " has the mode " +
                     QString::number(status.st_mode & 07777U, 8).toStdString();
}

// Everything that is written of a patient, with nothing taken away by the umask.
std::string writtenWith(unsigned file, unsigned folder, gid_t group = getegid()) {
    umask(0);
    const QString pictures = home("pictures/screenshots");
    vlr::Settings::set(key + QStringLiteral("ScreenshotLocation"), pictures);
    const DataPointer<QtScreenShotData> screenshot(new QtScreenShotData);
    QPixmap picture(20, 20);
    picture.fill(Qt::red);
    screenshot->setScreenShot(picture, QStringLiteral("a"));
    const DataPointer<Patient> patient(new Patient);
    static int number = 0;
    patient->setPatientId(QString::number(++number));
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        return error.text();
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QString log = QString::fromStdString(vlr::Log::filePath());
    const struct {
        QString path;
        unsigned mode;
        gid_t group;
    } made[] = {{pictures, folder, group},
                {home("pictures"), folder, group},
                {pictures + QStringLiteral("/a.png"), file, group},
                {data + QStringLiteral("/patients.sqlite"), file, group},
                {data + QStringLiteral("/patients.sqlite-wal"), file, group},
                {data + QStringLiteral("/patients.sqlite-shm"), file, group},
                {vlr::Settings::filePath(), 0600, getegid()},
                {log, log.isEmpty() ? 0U : 0600U, log.isEmpty() ? 0U : getegid()}};
    for (const auto& one : made) {
        const std::string wrong =
            wrongRights(one.path, one.mode, one.group, encoded(one.path).constData());
        if (!wrong.empty())
            return wrong;
    }
    return {};
}

std::string patientDataIsPrivate() {
    const QString repository = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                               QStringLiteral("/patients.sqlite");
    put(repository, ""); // Of a former release.
    chmod(encoded(repository).constData(), 0666);
    return writtenWith(0600, 0700);
}

// A repository that is restored is as one that was made.
std::string restoredFor(gid_t group) {
    DataIOManager::closeRepository();
    const QString repository = home("restored/patients.sqlite");
    QString summary;
    CaError error = vlr::backUpRepository(trustRepository(), home("backup"), {}, summary);
    if (error == CaError::nullError)
        error = vlr::restoreRepository(home("backup"), repository, {}, summary,
                                       vlr::patientDataRights());
    if (error != CaError::nullError)
        return error.text();
    return wrongRights(repository, 0660, group, "what is restored") +
           wrongRights(home("restored"), 02770, group, "its folder");
}

std::string patientDataIsOfTheGroup() {
    // One that nothing would get by itself, where this user has such a one.
    gid_t own = getegid();
    const group* const other = getgrnam("users");
    const bool isSecond = geteuid() == 0 && other && setgroups(1, &other->gr_gid) == 0;
    if (isSecond)
        own = other->gr_gid;
    else
        reportDone("not run: a second group of an ordinary user: root only");
    vlr::Settings::set(key + QStringLiteral("PatientDataGroup"), getgrgid(own)->gr_name);
    std::string wrong = writtenWith(0660, 02770, own);
    if (wrong.empty() && isSecond)
        wrong = restoredFor(own);
    if (isSecond && setgroups(0, nullptr) != 0)
        return "the second group stays";
    return wrong;
}

std::string onlyOwnGroupsCount() {
    for (const char* name : {geteuid() == 0 ? "games" : "root", "no such group"}) {
        const TrustWarnings warnings;
        vlr::Settings::set(key + QStringLiteral("PatientDataGroup"), name);
        std::string wrong = writtenWith(0600, 0700);
        if (wrong.empty() && !warnings.tell("PatientDataGroup"))
            wrong = "nothing is told";
        if (!wrong.empty())
            return std::string(name) + ": " + wrong;
    }
    return {};
}

// --- what is not believed

struct Doubt {
    const char* name;
    unsigned folder, file;
    bool isForeign, isBelieved;
};

constexpr Doubt doubts[] = {
    {"one's own", 0755, 0644, false, true},          {"sticky folder", 01777, 0600, false, true},
    {"open to everybody", 0700, 0602, false, false}, {"open to a group", 0700, 0660, false, false},
    {"open folder", 0777, 0600, false, false},       {"another user's", 0700, 0600, true, false},
};

// Gives the file that the text is stored in those rights, and reads it anew.
template <class Store, class Read>
std::string readDoubtful(const QString& path, Store store, Read read) {
    const QString folder = QFileInfo(path).path();
    for (const Doubt& one : doubts) {
        if (one.isForeign && geteuid() != 0) {
            reportDone("not run: files of another user as an ordinary one: cannot be given away");
            continue;
        }
        QDir(folder).removeRecursively();
        store("theirs");
        const QByteArray written = content(path);
        // No group of which there is nobody else.
        const gid_t wide = geteuid() == 0 ? nobody : getegid();
        chown(encoded(path).constData(), one.isForeign ? nobody : geteuid(), wide);
        chmod(encoded(path).constData(), one.file);
        chmod(encoded(folder).constData(), one.folder);
        const TrustWarnings warnings;
        const bool isBelieved = read() == "theirs";
        if (isBelieved != one.isBelieved)
            return std::string(one.name) + (isBelieved ? " is believed" : " is not believed");
        if (isBelieved)
            continue;
        const QString kept = QDir(folder).entryList({QStringLiteral("*.damaged-*")}).value(0);
        if (!warnings.tell(encoded(path).constData()) || kept.isEmpty() ||
            content(folder + QLatin1Char('/') + kept) != written)
            return std::string(one.name) + " is not told or not kept";
        store("mine");
        if (read() != "mine" || content(folder + QLatin1Char('/') + kept) != written)
            return std::string(one.name) + ": nothing can be stored afterwards";
    }
    return {};
}

std::string doubtfulSettingsAreNotBelieved() {
    const QString name = key + QStringLiteral("Doubtful");
    return readDoubtful(
        vlr::Settings::filePath(),
        [&](const char* text) {
            vlr::Settings::reload();
            vlr::Settings::set(name, text);
        },
        [&] {
            vlr::Settings::reload();
            return vlr::Settings::get(name, "default").toStdString();
        });
}

std::string doubtfulConfigurationsAreNotBelieved() {
    const QString name = QStringLiteral("Doubtful");
    return readDoubtful(
        DataIOManager::configurationPath(name),
        [&](const char* text) {
            const DataPointer<Configuration> written(new Configuration);
            written->setId(QLatin1String(text));
            (void)DataIOManager::storeConfiguration(name, written);
        },
        [&] {
            const DataPointer<Configuration> read(new Configuration);
            (void)DataIOManager::loadConfiguration(name, read);
            return read->id().toStdString();
        });
}

// Root in the folder of a user renames and writes nothing.
std::string foreignFoldersAreLeftAlone() {
    if (geteuid() != 0) {
        reportDone("not run: root with the settings of a user as an ordinary one: needs root");
        return {};
    }
    const QString path = vlr::Settings::filePath();
    const QString name = key + QStringLiteral("Doubtful");
    vlr::Settings::set(name, "theirs");
    for (const QString& each : {path, QFileInfo(path).path()})
        if (chown(encoded(each).constData(), nobody, nobody) != 0)
            return "the test's own files cannot be given away";
    const QStringList before = QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::Hidden);
    const QByteArray written = content(path);
    vlr::Settings::reload();
    if (vlr::Settings::get(name, "default") != QLatin1String("default"))
        return "it is believed";
    if (vlr::Settings::set(name, "mine") == CaError::nullError || content(path) != written)
        return "it is written";
    return QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::Hidden) == before
               ? ""
               : "something was renamed or left";
}

// Where no file is yet. What is above the folder counts for its owner alone.
std::string nothingIsBegunInDoubtfulFolders() {
    const QString path = vlr::Settings::filePath();
    const QString folder = QFileInfo(path).path();
    const QString above = QFileInfo(folder).path();
    const struct {
        const char* name;
        QString place;
        unsigned mode;
        bool isForeign;
        const char* said; // empty: it is believed
    } cases[] = {{"open folder", folder, 0777, false, "its folder may be written by everybody"},
                 {"another user's", folder, 0755, true, "its folder belongs to the user"},
                 {"below another user's", above, 0755, true, "\" belongs to the user"},
                 {"below an open one", above, 0777, false, ""},
                 {"sticky folder", folder, 01777, false, ""}};
    vlr::Log::setFileEnabled(false);
    for (const auto& one : cases) {
        if (one.isForeign && geteuid() != 0)
            continue; // An ordinary user cannot give anything away.
        QDir(folder).removeRecursively();
        QDir().mkpath(one.place);
        chmod(encoded(one.place).constData(), one.mode);
        chown(encoded(one.place).constData(), one.isForeign ? nobody : geteuid(), getegid());
        vlr::Settings::reload();
        const QStringList before = trustInventory();
        const bool isBelieved = !*one.said;
        for (const bool isFirst : {true, false}) {
            const TrustWarnings warnings;
            (void)vlr::Settings::get(key, "default");
            if (warnings.tell(isBelieved ? "settings" : one.said) != (isFirst && !isBelieved))
                return std::string(one.name) + ": it is not told once";
        }
        const CaError error = vlr::Settings::set(key + QStringLiteral("a"), "mine");
        const DataPointer<Configuration> written(new Configuration);
        const bool isStored =
            !one.isForeign ||
            DataIOManager::storeConfiguration(QStringLiteral("a"), written) == CaError::nullError;
        chown(encoded(one.place).constData(), geteuid(), getegid());
        if (error.isNull() != isBelieved || (isStored && one.isForeign))
            return std::string(one.name) + ": " + (isBelieved ? error.text() : "it is written");
        if (!isBelieved && trustInventory().size() != before.size())
            return std::string(one.name) + ": something is left";
    }
    vlr::Log::setFileEnabled(true);
    return {};
}

// --- no home

std::string withoutHomeNothingIsWritten() {
    QDir().mkpath(home("empty"));
    const auto rootHolds = [] {
        return QFile::exists(QStringLiteral("/.config/Navigator")) +
               QFile::exists(QStringLiteral("/.local/share/Navigator")) +
               QFile::exists(QStringLiteral("/.cache/Navigator"));
    };
    const int before = rootHolds();
    for (const char* homePath : {"", "relative", "/", "/.", "//./", "/../"})
        for (const char* option : {"--exit-after-first-frame", "--self-check"}) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("HOME"), QLatin1String(homePath));
            for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
                environment.insert(QLatin1String(place), QStringLiteral("relative"));
            const Ended program = navigator({QLatin1String(option)}, environment);
            if (program.code != 1 || program.errors.find("HOME") == std::string::npos ||
                program.errors.find("XDG_DATA_HOME is \"relative\"") == std::string::npos)
                return std::string(option) + " goes on: " + program.errors;
            if (!QDir(home("empty")).isEmpty() || rootHolds() != before)
                return std::string(option) + " writes something";
        }
    return {};
}

} // namespace

QStringList trustInventory() {
    QStringList list;
    QDirIterator entry(home(),
                       QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString path = entry.next();
        const struct stat status = statusOf(path);
        list << QStringLiteral("%1 %2 %3 ").arg(path).arg(status.st_mode).arg(status.st_uid);
        if (S_ISREG(status.st_mode))
            list.back() += QStringLiteral("%1 %2.%3 ")
                               .arg(status.st_ino)
                               .arg(status.st_mtim.tv_sec)
                               .arg(status.st_mtim.tv_nsec) +
                           QString::fromLatin1(content(path).toHex());
    }
    list.sort();
    return list;
}

std::vector<TrustCase> trustFiles() {
    return {
        {"links where the self-check writes", &theSelfCheckChangesNothing},
        {"the self-check in foreign folders", &theSelfCheckLeavesForeignFoldersAlone},
        {"links of others", &linksOfOthersAreNotFollowed},
        {"patient data without a umask", &patientDataIsPrivate},
        {"patient data of a group", &patientDataIsOfTheGroup},
        {"patient data of a foreign group", &onlyOwnGroupsCount},
        {"settings of others", &doubtfulSettingsAreNotBelieved},
        {"configurations of others", &doubtfulConfigurationsAreNotBelieved},
        {"root with the settings of a user", &foreignFoldersAreLeftAlone},
        {"a folder of others without settings", &nothingIsBegunInDoubtfulFolders},
        {"no home", &withoutHomeNothingIsWritten},
    };
}
