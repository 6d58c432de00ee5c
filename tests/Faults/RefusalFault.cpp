// Saves that cannot be made: on a full disk, in folders and files that may not be written, and with
// every system call failing.

#include "Faults.h"

#include "Storer.h"

#include <QtCore/QDirIterator>

#include <cerrno>
#include <fcntl.h>
#include <sched.h>
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

// A tree of the ordinary user's, in which these rights hold for folders and files.
void setRights(const QString& path, mode_t folders, mode_t files) {
    QStringList all(path);
    QDirIterator entries(path, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        all << entries.next();
    for (const QString& entry : qAsConst(all)) {
        const QByteArray name = QFile::encodeName(entry);
        if ((geteuid() == 0 && lchown(name.constData(), nobody, nobody) != 0) ||
            chmod(name.constData(), QFileInfo(entry).isDir() ? folders : files) != 0)
            throw std::runtime_error("The rights of the test's own files cannot be set.");
    }
}

struct Rights {
    const char* name;
    mode_t folders;
    mode_t files;
};

constexpr Rights rights[] = {
    {"read-only folders", 0555, 0600},
    {"read-only files", 0700, 0400},
    {"read-only folders and files", 0555, 0400},
};

} // namespace

// A disk that fills up in the middle of a save, wherever that is.
void faultFullDisk(Report& report) {
    limitFiles(report);
    fillDisk(report);
}

void faultReadOnly(Report& report) {
    const QByteArray home = QFile::encodeName(QDir::homePath());
    const QByteArray folder = home + "/user";
    const QString user = QFile::decodeName(folder);
    QDir().mkpath(user);
    chmod(home.constData(), 0755);
    chmod((home + "/tmp").constData(), 0777);
    for (const char* place : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, folder);
    setRights(user, 0700, 0600);
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, {}, true);
        for (const Rights& right : rights)
            for (int i = 0; i < report.extent(3, 30); ++i) {
                setRights(user, right.folders, right.files);
                (void)storer.store(i % 2 == 0 ? "" : "none closed");
                setRights(user, 0700, 0600);
            }
        report.atLeast(std::string(victim.name) + ": refused", storer.refused(), 1);
        (void)storer.store({});
        report.never("refused when it may write again", storer.isRefused(), victim.name);
    }
}

// Every call of a save that changes or reads a file, failing once, or from there on.
void faultSyscalls(Report& report) {
    const QStringList shim = shimEnvironment(report);
    if (shim.isEmpty())
        return;
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, shim);
        for (const int error : {ENOSPC, EIO, EMFILE})
            for (const char* rest : {"", " closed", " lasting", " lasting closed"}) {
                const QByteArray fault = ' ' + QByteArray::number(error) + rest;
                if (!report.isLong() && fault != " 5 closed" && fault != " 28 lasting")
                    continue;
                const long calls = storer.sweepCalls(fault, 1);
                const std::string what = victim.name + fault.toStdString();
                report.atLeast("calls of a save: " + what, calls, 5);
                report.never("refused when all works again", storer.isRefused(), what);
            }
    }
}
