// What the user has stored, and where.

#include "SelfCheck/SelfCheck.h"

#include "AppBase/KnownSettings.h"
#include "AppBase/Translations.h"
#include "Data/PatientText.h"
#include "IO/DataIOManager.h"
#include "IO/DurableFile.h"
#include "IO/PatientStore.h"
#include "IO/TreeXml.h"
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
#include <QtCore/QUuid>

#include <algorithm>

namespace {

constexpr qint64 leastFreeBytes = qint64(100) << 20;

QString text(const CaError& error) {
    return error == CaError::nullError ? QString() : QString::fromStdString(error.text());
}

QString folderProblem(const QString& folder) {
    const QString probe =
        folder + QStringLiteral("/.self-check-%1").arg(QCoreApplication::applicationPid());
    const QByteArray written = "self-check";
    CaError error = vlr::writeDurably(probe, written);
    QByteArray read;
    if (error == CaError::nullError)
        error = vlr::readWhole(probe, written.size(), read);
    QFile::remove(probe);
    if (error != CaError::nullError)
        return text(error);
    if (read != written)
        return QStringLiteral("What was written is not what was read.");
    const qint64 free = QStorageInfo(folder).bytesAvailable();
    return free >= 0 && free < leastFreeBytes
               ? QStringLiteral("Only %1 MB are free.").arg(free >> 20)
               : QString();
}

// A record is only in the file when it can be read there.
QString logProblem() {
    const QByteArray mark = "Self-check " + QUuid::createUuid().toByteArray();
    VLR_LOG(Info) << mark.constData();
    vlr::Log::flush();
    QFile file(QFile::decodeName(vlr::Log::filePath().c_str()));
    constexpr qint64 enough = 4096;
    if (!file.open(QIODevice::ReadOnly) || !file.seek(std::max<qint64>(0, file.size() - enough)))
        return QStringLiteral("It cannot be written.");
    return file.readAll().contains(mark) ? QString()
                                         : QStringLiteral("What is logged does not get there.");
}

void checkStorage(CheckList& list) {
    QStringList folders;
    for (const auto place : {QStandardPaths::AppConfigLocation, QStandardPaths::AppDataLocation,
                             QStandardPaths::AppLocalDataLocation, QStandardPaths::TempLocation})
        folders << QStandardPaths::writableLocation(place);
    folders.removeDuplicates();
    for (const QString& folder : qAsConst(folders))
        list.check("storage", folder, [&] { return folderProblem(folder); });
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
    CaError error = vlr::readWhole(path, limits.bytes, document);
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

// To open one that is not there would make it.
bool isRepositoryThere(const QHash<QString, QVariant>& settings) {
    const QUrl url(
        settings.value(QStringLiteral("Velora/Application/PatientRepository")).toString());
    if (!url.isEmpty() && url.scheme() != QLatin1String("sqlite"))
        return true;
    return QFile::exists(url.isEmpty()
                             ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                                   QStringLiteral("/patients.sqlite")
                             : url.path());
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
        alike[vlr::idSkeleton(id)] << QLatin1Char('"') + vlr::visibleText(id) + QLatin1Char('"');
    }
    for (const QStringList& ids : qAsConst(alike))
        if (ids.size() > 1)
            CheckList::note("patient ids", ids.join(QStringLiteral(", ")),
                            QStringLiteral("They are easily taken for one another."));
}

void checkPatients(CheckList& list) {
    std::vector<MetaInformation> patients;
    list.check("patients", QStringLiteral("the repository"), [&] {
        CaError error;
        const vlr::PatientStore* const store = DataIOManager::repository(error);
        if (!store)
            return text(error);
        if (!store->whyReadOnly().empty())
            return QString::fromStdString(store->whyReadOnly());
        return text(DataIOManager::patientMetaInfoList(patients));
    });
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

} // namespace

void checkSite(CheckList& list) {
    checkStorage(list);
    QHash<QString, QVariant> settings;
    const bool areSettingsReadable = checkSettings(list, settings);
    checkConfigurations(list);
    if (areSettingsReadable && isRepositoryThere(settings))
        checkPatients(list);
    else
        list.check("patients", QStringLiteral("no repository yet"), [&] {
            return areSettingsReadable
                       ? QString()
                       : QStringLiteral("Where it is stands in the settings, which are damaged.");
        });
    checkTranslations(list);
}
