// Recordings of trackers: for whom they are, when they are on the disk, and what is played.

#include "Trust.h"

#include "Settings/vlrSettings.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/TrackingRecorder.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<int> syncs{0};
std::atomic<bool> syncsFail{false};

} // namespace

// In place of the C library's, for everything in this program.
extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
    static const auto next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "fdatasync"));
    ++syncs;
    if (!syncsFail)
        return next(file);
    errno = EIO;
    return -1;
}

namespace {

std::string unlike(const std::string& found, const std::string& wanted, const QString& what) {
    const bool isFine = wanted.empty() ? found.empty() : found.find(wanted) != std::string::npos;
    return isFine ? std::string()
                  : what.toStdString() + ": \"" + found + "\" instead of \"" + wanted + "\". ";
}

std::string recordingsAreOfTheGroup() {
    const QString setting = QStringLiteral("Velora/Application/PatientDataGroup");
    vlr::Settings::set(setting, getgrgid(getegid())->gr_name);
    const QString path = QDir::homePath() + QStringLiteral("/made/case.track");
    std::string wrong = unlike(vlr::TrackingRecorder(path).open().text(), "", path);
    vlr::Settings::remove(setting);
    struct stat file {};
    struct stat folder {};
    (void)stat(QFile::encodeName(path).constData(), &file);
    (void)stat(QFile::encodeName(QFileInfo(path).path()).constData(), &folder);
    if ((file.st_mode & 07777) != 0660 || (folder.st_mode & 07777) != 02770)
        wrong += "it is not of the group. ";
    return wrong;
}

std::string onlyFilesArePlayed() {
    const QString pipe = QDir::homePath() + QStringLiteral("/pipe");
    mkfifo(QFile::encodeName(pipe).constData(), 0600);
    std::string wrong;
    for (const QString& path : {pipe, QDir::homePath(), QStringLiteral("/dev/zero")})
        wrong += unlike(vlr::RecordingPlayer(path, vlr::RecordingPlayer::Fast).start().text(),
                        "it is not a regular file", path);
    return wrong;
}

std::string recordingsArePrivateAndOnTheDisk() {
    umask(0);
    const QString path = QDir::homePath() + QStringLiteral("/case.track");
    const QByteArray file = QFile::encodeName(path);
    std::string wrong;
    for (const bool isFailing : {false, true}) {
        vlr::TrackingRecorder recorder(path);
        wrong += unlike(recorder.open().text(), "", QStringLiteral("opening"));
        struct stat status {};
        if (stat(file.constData(), &status) != 0 || (status.st_mode & 0777) != 0600)
            wrong += "it is not for its user alone. ";
        const int before = syncs;
        syncsFail = isFailing;
        recorder.received({"Pointer", {}, {Vector3d(1, 2, 3)}, {}, 0});
        const std::string said = recorder.close().text();
        syncsFail = false;
        wrong += unlike(said, isFailing ? "case.track\" ended early: Input/output error" : "",
                        QStringLiteral("the end"));
        if (syncs != before + 1)
            wrong += std::to_string(syncs - before) + " times onto the disk. ";
        (void)QFile::remove(path);
    }
    // Somebody's link, which leads to what is not there yet.
    const QByteArray target = file + ".target";
    if (symlink(target.constData(), file.constData()) != 0 ||
        vlr::TrackingRecorder(path).open().isNull() || access(target.constData(), F_OK) == 0)
        wrong += "it follows a link. ";
    return wrong;
}

} // namespace

std::vector<TrustCase> trustRecordings() {
    return {
        {"a recording", &recordingsArePrivateAndOnTheDisk},
        {"a recording of a group", &recordingsAreOfTheGroup},
        {"what is no recording", &onlyFilesArePlayed},
    };
}
