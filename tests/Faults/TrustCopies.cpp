// Backups and restores that are killed, and file systems that know no second names.

#include "Cases.h"
#include "Child.h"
#include "Faults.h"
#include "Storer.h"
#include "Trust.h"

#include "IO/DataIOManager.h"
#include "IO/RepositoryBackup.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <stdexcept>
#include <unistd.h>

namespace {

std::atomic<int> linkError{0};

} // namespace

// In place of the C library's, for everything in this program.
extern "C" __attribute__((visibility("default"))) int link(const char* from,
                                                           const char* to) noexcept {
    static const auto next =
        reinterpret_cast<int (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "link"));
    if (linkError == 0)
        return next(from, to);
    errno = linkError;
    return -1;
}

namespace {

QString backup() {
    return QDir::homePath() + QStringLiteral("/backup");
}

CaError storeId(const QString& id) {
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(id);
    return DataIOManager::storePatient(patient);
}

// Of the repository in that file.
std::string idsIn(const QString& file) {
    QUrl url;
    url.setScheme(QStringLiteral("sqlite"));
    url.setPath(file);
    vlr::Settings::set(QStringLiteral("Velora/Application/PatientRepository"),
                       url.toString(QUrl::FullyEncoded));
    std::vector<QString> ids;
    const CaError error = DataIOManager::patientIds(ids);
    DataIOManager::closeRepository();
    std::sort(ids.begin(), ids.end());
    std::string text = error.text();
    for (const QString& id : ids)
        text += id.toStdString();
    return text;
}

// One that holds 1 and 2, the latter beside the file, and a backup that holds 1.
void prepare() {
    DataIOManager::closeRepository();
    QDir(QFileInfo(trustRepository()).path()).removeRecursively();
    QFile::remove(backup());
    vlr::Settings::remove(QStringLiteral("Velora/Application/PatientRepository"));
    QString summary;
    if (storeId(QStringLiteral("1")) != CaError::nullError ||
        vlr::backUpRepository(trustRepository(), backup(), {}, summary) != CaError::nullError)
        throw std::runtime_error("There is nothing to restore.");
    DataIOManager::closeRepository();
    Child dying(QStringLiteral("copy"), {QStringLiteral("store")});
    if (dying.wait() != -SIGKILL)
        throw std::runtime_error("Nothing lies beside the file.");
}

QStringList keptFiles() {
    QStringList kept;
    const QDir folder(QFileInfo(trustRepository()).path());
    for (const QFileInfo& file : folder.entryInfoList({QStringLiteral("*.replaced-*")}))
        if (!file.fileName().endsWith(QLatin1String("-wal")) &&
            !file.fileName().endsWith(QLatin1String("-shm")))
            kept << file.filePath();
    return kept;
}

// Whether all that was there is there, under one of the names.
std::string judgeRestore(bool isDone) {
    std::string kept;
    for (const QString& file : keptFiles())
        kept += idsIn(file) + ';';
    const std::string now = idsIn(trustRepository());
    const bool isOld = !isDone && now == "12";
    const bool isNew = now == "1" && kept.find("12;") != std::string::npos;
    return isOld || isNew ? "" : "there is " + now + ", and kept is " + kept;
}

std::string itIsRestoredWithoutLinks() {
    for (const int error : {0, EPERM, ENOTSUP, EMLINK}) {
        prepare();
        linkError = error;
        QString summary;
        const CaError result = vlr::restoreRepository(backup(), trustRepository(), {}, summary);
        linkError = 0;
        std::string wrong = result.text();
        if (wrong.empty() && keptFiles().size() != 1)
            wrong = std::to_string(keptFiles().size()) + " are kept";
        if (wrong.empty())
            wrong = judgeRestore(true);
        const QDir folder(QFileInfo(trustRepository()).path());
        if (!folder.entryList({QStringLiteral(".vlr-*")}, QDir::AllEntries | QDir::Hidden)
                 .isEmpty())
            wrong += " a temporary file is left";
        if (!wrong.empty())
            return "error " + std::to_string(error) + ": " + wrong;
    }
    // Another error is none of the file system's kind.
    prepare();
    linkError = EIO;
    QString summary;
    const CaError result = vlr::restoreRepository(backup(), trustRepository(), {}, summary);
    linkError = 0;
    return result.text().find("Could not keep") != std::string::npos && keptFiles().isEmpty()
               ? judgeRestore(false)
               : "it goes on after an error: " + result.text();
}

std::string judgeBackup(bool isDone) {
    QString summary;
    const bool isThere = QFile::exists(backup());
    if (isThere || isDone) {
        const QString other = QDir::homePath() + QStringLiteral("/other/patients.sqlite");
        QDir(QFileInfo(other).path()).removeRecursively();
        const CaError error = vlr::restoreRepository(backup(), other, {}, summary);
        if (error != CaError::nullError || idsIn(other) != "12")
            return "the backup is none: " + error.text();
    }
    const std::string now = idsIn(trustRepository());
    return now == "12" ? "" : "there is " + now;
}

// Right before each of its system calls that change files, or some of them.
std::string killed(const char* what, int errorOfLinks, std::string (*judge)(bool)) {
    Report unused(false);
    const QStringList shim = shimEnvironment(unused);
    if (shim.isEmpty())
        return {};
    const int step = isLongForm() ? 3 : 61;
    long kills = 0;
    for (int call = 1;; call += step, ++kills) {
        nameCase("call " + std::to_string(call));
        prepare();
        if (what == std::string("backup"))
            QFile::remove(backup());
        Child child(QStringLiteral("copy"),
                    {QLatin1String(what), QString::number(call), QString::number(errorOfLinks)},
                    shim);
        const int status = child.wait();
        if (status != 0 && status != -SIGKILL)
            return "it ends with " + std::to_string(status) + ' ' +
                   child.standardError().toStdString();
        const std::string wrong = judge(status == 0);
        if (!wrong.empty())
            return std::string(what) + " killed at call " + std::to_string(call) + ": " + wrong;
        if (status == 0)
            break;
    }
    reportDone(std::to_string(kills) + " kills of a " + what +
               (errorOfLinks == 0 ? "" : " without links"));
    return kills > 1 ? "" : "it was never killed";
}

std::string aRestoreIsKilled() {
    return killed("restore", 0, &judgeRestore);
}

std::string aRestoreWithoutLinksIsKilled() {
    return killed("restore", EPERM, &judgeRestore);
}

std::string aBackupIsKilled() {
    return killed("backup", 0, &judgeBackup);
}

} // namespace

std::vector<TrustCase> trustCopies() {
    return {
        {"a restore where files have one name", &itIsRestoredWithoutLinks},
        {"a restore that is killed", &aRestoreIsKilled},
        {"a restore that is killed where files have one name", &aRestoreWithoutLinksIsKilled},
        {"a backup that is killed", &aBackupIsKilled},
    };
}

// "store" stores the patient 2 and dies; "backup" and "restore" are killed at a call.
int actCopy(const QStringList& arguments) {
    if (arguments.value(0) == QLatin1String("store")) {
        (void)storeId(QStringLiteral("2"));
        (void)std::raise(SIGKILL);
    }
    auto* const arm = reinterpret_cast<void (*)(long, int, int)>(dlsym(RTLD_DEFAULT, "vlrShimArm"));
    if (!arm)
        return 2;
    linkError = arguments.value(2).toInt();
    QString summary;
    arm(arguments.value(1).toLong(), 0, 0);
    const CaError error = arguments.value(0) == QLatin1String("backup")
                              ? vlr::backUpRepository(trustRepository(), backup(), {}, summary)
                              : vlr::restoreRepository(backup(), trustRepository(), {}, summary);
    arm(0, 0, 0);
    std::fprintf(stderr, "%s\n", error.text().c_str());
    return error == CaError::nullError ? 0 : 3;
}
