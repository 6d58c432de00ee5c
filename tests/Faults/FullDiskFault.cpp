// A disk that fills up in the middle of a save, wherever that is.

#include "Faults.h"

#include "Storer.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 pageSize = 4096;

// The largest of the files that a save writes to.
qint64 sizeOf(const Victim& victim) {
    const qint64 log = QFileInfo(victim.file() + QStringLiteral("-wal")).size();
    return std::max(QFileInfo(victim.file()).size(), log);
}

void limitFiles(Report& report) {
    for (const Victim& victim : victims()) {
        Storer storer(victim, report);
        const qint64 size = sizeOf(victim);
        const qint64 step = report.isLong() ? 1 : std::max<qint64>(size / 200, 1);
        for (qint64 limit = 0; limit < size; limit += step)
            (void)storer.store("limit " + QByteArray::number(limit));
        report.atLeast(std::string("refused at a limit of the file size: ") + victim.name,
                       storer.refused(), (size + step - 1) / step);
    }
}

// A file system of its own, which nobody but this process and its children sees.
bool mountSmallDisk(const QByteArray& path) {
    return mkdir(path.constData(), 0700) == 0 && unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", path.constData(), "tmpfs", 0, "size=4m") == 0;
}

// Fills all of the disk but so many pages.
bool fill(const QByteArray& ballast, long pages) {
    const int file = open(ballast.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string page(pageSize, 'b');
    off_t size = 0;
    while (file >= 0 && pwrite(file, page.data(), page.size(), size) == pageSize)
        size += pageSize;
    const bool isFilled =
        file >= 0 && ftruncate(file, std::max<off_t>(size - pages * pageSize, 0)) == 0;
    close(file);
    return isFilled;
}

void fillDisk(Report& report) {
    const QByteArray path = QFile::encodeName(QDir::homePath()) + "/disk";
    const QByteArray ballast = path + "/ballast";
    if (!mountSmallDisk(path))
        return report.notRun("small disk: needs the right to mount");
    for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(place, path);
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, {QStringLiteral("TMPDIR=") + QFile::decodeName(path)});
        const long most = sizeOf(victim) / pageSize + 20;
        for (long pages = 0; pages <= most; ++pages) {
            report.never("small disk: not filled", !fill(ballast, pages));
            (void)storer.store({});
            unlink(ballast.constData());
        }
        const std::string name = std::string("small disk: ") + victim.name;
        report.atLeast(name + " refused", storer.refused(), 2);
        report.never(name + " refused with room for all", storer.isRefused());
    }
    umount2(path.constData(), MNT_DETACH);
}

} // namespace

void faultFullDisk(Report& report) {
    limitFiles(report);
    fillDisk(report);
}
