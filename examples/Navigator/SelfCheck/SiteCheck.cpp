// What the user has stored, and where.

#include "SelfCheck/SelfCheck.h"

#include "AppBase/Settings/KnownSettings.h"
#include "AppBase/Translations.h"
#include "Data/PatientText.h"
#include "Documents/TreeXml.h"
#include "Files/DurableFile.h"
#include "Files/FileTrust.h"
#include "Files/TemporaryFile.h"
#include "IO/DataIOManager.h"
#include "IO/PatientStore.h"
#include "SelfCheck/CheckList.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QStandardPaths>
#include <QtCore/QStorageInfo>
#include <QtCore/QTranslator>
#include <QtCore/QUrl>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr qint64 leastFreeBytes = qint64(100) << 20;

QString text(const CaError& error) {
    return error == CaError::nullError ? QString() : QString::fromStdString(error.text());
}

// The folder, or where it is not there yet what is above it.
QString existing(const QString& folder) {
    QString path = QDir::cleanPath(folder);
    while (!QFileInfo::exists(path) && path != QFileInfo(path).path())
        path = QFileInfo(path).path();
    return path;
}

QString spaceProblem(const QString& folder) {
    const qint64 free = QStorageInfo(folder).bytesAvailable();
    return free >= 0 && free < leastFreeBytes
               ? QStringLiteral("Only %1 MB are free.").arg(free >> 20)
               : QString();
}

QString systemText(int error) {
    return QString::fromStdString(std::generic_category().message(error));
}

// What is written has to come back from the disk. The number of the error or 0.
int tryFile(int descriptor, bool& isSame) {
    const std::string written = "self-check";
    std::string read(written.size(), ' ');
    const auto size = static_cast<ssize_t>(written.size());
    const bool isDone = write(descriptor, written.data(), written.size()) == size &&
                        fsync(descriptor) == 0 &&
                        pread(descriptor, &read[0], read.size(), 0) == size;
    isSame = read == written;
    return isDone ? 0 : errno;
}

// In a folder of its own, whose name nobody knows before, lest another user waits there with a
// link.
QString folderProblem(const QString& folder) {
    if (!QFileInfo::exists(folder))
        return access(QFile::encodeName(existing(folder)).constData(), W_OK | X_OK) == 0
                   ? spaceProblem(existing(folder))
                   : QStringLiteral("It is not there and cannot be made: ") + systemText(errno);
    const vlr::ScratchFolder scratch(folder);
    QByteArray path;
    const int descriptor =
        scratch.error() == 0 ? vlr::openTemporaryFile(QFile::encodeName(scratch.path()), path) : -1;
    if (descriptor < 0)
        return QStringLiteral("It cannot be written: ") +
               systemText(scratch.error() != 0 ? scratch.error() : errno);
    bool isSame = false;
    const int error = tryFile(descriptor, isSame);
    unlink(path.constData());
    close(descriptor);
    if (error != 0)
        return QStringLiteral("It cannot be written: ") + systemText(error);
    return isSame ? spaceProblem(folder) : QStringLiteral("What was written is not what was read.");
}

// A log that is there is only opened; what is logged now goes elsewhere.
QString logProblem() {
    const QString path = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) +
                         QStringLiteral("/log/") + QCoreApplication::applicationName() +
                         QStringLiteral(".log");
    const int descriptor = ::open(QFile::encodeName(path).constData(),
                                  O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0)
        return errno == ENOENT ? QString()
                               : QStringLiteral("It cannot be written: ") + systemText(errno);
    struct stat status = {};
    const bool isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    close(descriptor);
    return isFile ? QString() : QStringLiteral("It is not a regular file.");
}

void checkStorage(CheckList& list) {
    QStringList folders;
    for (const auto place : {QStandardPaths::AppConfigLocation, QStandardPaths::AppDataLocation,
                             QStandardPaths::AppLocalDataLocation, QStandardPaths::TempLocation})
        folders << QStandardPaths::writableLocation(place);
    folders.removeDuplicates();
    for (const QString& folder : qAsConst(folders)) {
        const QString parent = existing(folder);
        list.check("storage",
                   parent == QDir::cleanPath(folder)
                       ? folder
                       : QStringLiteral("%1, which is not there yet, below %2").arg(folder, parent),
                   [&] { return folderProblem(folder); });
    }
    list.check("log", QStringLiteral("the log file"), &logProblem);
}

// Gives the values, and whether they could be read: to ask for one of them would set a damaged
// file aside.
bool checkSettings(CheckList& list, QHash<QString, QVariant>& values) {
    CaError error;
    list.check("settings", vlr::Settings::filePath(), [&] {
        error = vlr::Settings::look(values);
        return text(error);
    });
    for (const vlr::KnownSetting& setting : vlr::knownSettings())
        list.check("setting", setting.key, [&] {
            const QVariant stored = values.value(setting.key);
            if (!stored.isValid() || vlr::fits(setting.type, stored))
                return QString();
            return QStringLiteral("\"%1\" is not %2.")
                .arg(vlr::rawSettingText(stored), vlr::describe(setting.type));
        });
    return error == CaError::nullError;
}

QString documentProblem(const QString& path) {
    const vlr::TreeLimits limits;
    QByteArray document;
    DataTreeNode root;
    CaError error = vlr::readTrusted(path, limits.bytes, document);
    if (error == CaError::nullError)
        error = vlr::readTree(document, root, limits);
    return text(error);
}

void checkConfigurations(CheckList& list) {
    const QDir folder(QFileInfo(DataIOManager::configurationPath(QStringLiteral("a"))).path());
    const QFileInfoList files = folder.entryInfoList({QStringLiteral("*.xml")}, QDir::Files);
    for (const QFileInfo& file : files)
        list.check("configuration", file.fileName(),
                   [&] { return documentProblem(file.filePath()); });
}

QString repositorySetting(const QHash<QString, QVariant>& settings) {
    return settings.value(QStringLiteral("Velora/Application/PatientRepository")).toString();
}

// Of a repository on a server none.
QString repositoryFile(const QHash<QString, QVariant>& settings) {
    const QUrl url(repositorySetting(settings));
    if (!url.isEmpty() && url.scheme() != QLatin1String("sqlite"))
        return {};
    return url.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                               QStringLiteral("/patients.sqlite")
                         : url.path();
}

// One who was stored before ids were normalized, or by a program that does not do it, is a patient
// like any other. But somebody should look whether he is really another one.
void noteIds(const std::vector<MetaInformation>& patients) {
    QMap<QString, QStringList> alike;
    for (const MetaInformation& patient : patients) {
        const QString id = patient.value(QStringLiteral("id"));
        const QString problem = vlr::idProblem(id);
        if (!problem.isEmpty())
            CheckList::note("patient id", vlr::visibleText(id), problem);
        const QString name = patient.value(QStringLiteral("name"));
        const QString problemOfName = vlr::nameProblem(name);
        if (!problemOfName.isEmpty())
            CheckList::note("patient name", vlr::visibleText(name), problemOfName);
        alike[vlr::idSkeleton(id)] << QLatin1Char('"') + vlr::visibleText(id) + QLatin1Char('"');
    }
    for (const QStringList& ids : qAsConst(alike))
        if (ids.size() > 1)
            CheckList::note("patient ids", ids.join(QStringLiteral(", ")),
                            QStringLiteral("They are easily taken for one another."));
}

// It is only looked at, which tells nothing of storing.
QString storingProblem(const QString& file) {
    for (const auto& [path, rights] :
         {std::make_pair(file, W_OK), std::make_pair(QFileInfo(file).path(), W_OK | X_OK)})
        if (!file.isEmpty() && access(QFile::encodeName(path).constData(), rights) != 0)
            return QStringLiteral("\"%1\" cannot be written: ").arg(path) + systemText(errno);
    return {};
}

void checkPatients(CheckList& list, const QString& file) {
    std::vector<MetaInformation> patients;
    const QString foreign = foreignRepositoryProblem(file);
    bool isThere = foreign.isEmpty();
    list.check("patients", QStringLiteral("the repository"), [&] {
        if (!foreign.isEmpty())
            return foreign;
        CaError error;
        if (!DataIOManager::repositoryToLookAt(error)) {
            isThere = false;
            return error.id() == vlr::PatientStore::nothingYetError ? QString() : text(error);
        }
        error = DataIOManager::patientMetaInfoList(patients);
        return error == CaError::nullError ? storingProblem(file) : text(error);
    });
    if (!isThere)
        return;
    list.check("patients", QStringLiteral("%1 stored").arg(patients.size()), [&] {
        QStringList problems;
        for (const MetaInformation& information : patients) {
            DataPointer<Patient> patient;
            const CaError error = DataIOManager::loadPatient(information.uri(), patient);
            if (error != CaError::nullError)
                problems << vlr::visibleText(information.value(QStringLiteral("id"))) +
                                QStringLiteral(": ") + text(error);
        }
        return problems.join(QLatin1Char(' '));
    });
    noteIds(patients);
    DataIOManager::closeRepository();
}

// The texts of the program itself are English.
void checkTranslations(CheckList& list) {
    const QStringList files = vlr::translationFiles();
    list.check("translations", QStringLiteral("English, and %1 files").arg(files.size()), [&] {
        QStringList damaged;
        for (const QString& file : files)
            if (QTranslator translator; !translator.load(file) || translator.isEmpty())
                damaged << file;
        return damaged.isEmpty()
                   ? QString()
                   : QStringLiteral("These cannot be read: ") + damaged.join(QStringLiteral(", "));
    });
}

// Whoever may open a folder can hold the lock on it under which a repository is opened.
void noteOpenFolder(const QString& file) {
    const QString folder = QFileInfo(file).path();
    struct stat status = {};
    if (!file.isEmpty() && stat(QFile::encodeName(folder).constData(), &status) == 0 &&
        (status.st_mode & S_IROTH) != 0)
        CheckList::note("patients", folder,
                        QStringLiteral("Every user of this machine may read this folder, and could "
                                       "keep this program from opening the repository. Its mode "
                                       "is to be 0700, or 2770 with the group of the site."));
}

} // namespace

QString foreignRepositoryProblem(const QString& file) {
    const QFileInfo info(existing(file));
    const uint owner = info.ownerId() != 0 ? info.ownerId() : QFileInfo(info.path()).ownerId();
    return file.isEmpty() || geteuid() != 0 || owner == 0
               ? QString()
               : QStringLiteral("\"%1\" belongs to %2, and this program runs as %3.")
                     .arg(info.filePath(), QString::fromStdString(vlr::userText(owner)),
                          QString::fromStdString(vlr::userText(geteuid())));
}

QString foreignFolderProblem() {
    QStringList folders{QDir::homePath()};
    for (const auto place : {QStandardPaths::AppConfigLocation, QStandardPaths::AppDataLocation,
                             QStandardPaths::AppLocalDataLocation})
        folders << QStandardPaths::writableLocation(place);
    for (const QString& folder : qAsConst(folders)) {
        const QFileInfo info(existing(folder));
        // Above a folder that is not there may well be one of the system.
        const bool isSystems = info.ownerId() == 0 && info.filePath() != QDir::cleanPath(folder);
        if (info.ownerId() != geteuid() && !isSystems)
            return QStringLiteral("The folder \"%1\" belongs to %2, and this program runs as %3.")
                .arg(info.filePath(), QString::fromStdString(vlr::userText(info.ownerId())),
                     QString::fromStdString(vlr::userText(geteuid())));
    }
    return {};
}

void checkSite(CheckList& list) {
    checkStorage(list);
    QHash<QString, QVariant> settings;
    const bool areSettingsReadable = checkSettings(list, settings);
    checkConfigurations(list);
    const QString repository = repositoryFile(settings);
    const std::string unprotected = vlr::PatientStore::whyUnprotected(repositorySetting(settings));
    if (!unprotected.empty())
        CheckList::note("patients", QStringLiteral("the way to the server"),
                        QString::fromStdString(unprotected));
    noteOpenFolder(repository);
    if (areSettingsReadable && (repository.isEmpty() || QFile::exists(repository)))
        checkPatients(list, repository);
    else
        list.check("patients", QStringLiteral("no repository yet"), [&] {
            return areSettingsReadable
                       ? QString()
                       : QStringLiteral("Where it is stands in the settings, which are damaged.");
        });
    checkTranslations(list);
}
