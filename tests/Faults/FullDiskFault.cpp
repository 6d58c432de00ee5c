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

struct Sum {
    long stores = 0;
    long refused = 0;
    long wrong = 0;
    long crashes = 0;

    void add(const Storer& storer) {
        stores += storer.stores();
        refused += storer.refused();
        wrong += storer.silent() + storer.late();
        crashes += storer.crashes();
    }
    void figures(const std::string& where, Report& report) const {
        report.done(where + ": " + std::to_string(stores) + " saves, of which " +
                    std::to_string(refused) + " found no room");
        report.atMost(where + ": old version not intact, or no error", wrong, 0);
        report.atMost(where + ": crashes", crashes, 0);
        report.atLeast(where + ": saves that found no room", refused, 1);
    }
};

// The largest of the files that a save writes to.
qint64 sizeOf(const Victim& victim) {
    const qint64 log = QFileInfo(victim.file() + QStringLiteral("-wal")).size();
    return std::max(QFileInfo(victim.file()).size(), log);
}

void limitFiles(Report& report) {
    Sum sum;
    for (const Victim& victim : victims()) {
        Storer storer(victim, report);
        const qint64 size = sizeOf(victim);
        const qint64 step = report.isLong() ? 1 : std::max<qint64>(size / 200, 1);
        for (qint64 limit = 0; limit < size; limit += step)
            (void)storer.store("limit " + QByteArray::number(limit));
        sum.add(storer);
        report.atLeast(std::string("file-size limit: saves refused of the ") + victim.name,
                       storer.refused(), 1);
    }
    sum.figures("file-size limit", report);
}

// A file system of its own, which nobody but this process and its children sees.
class SmallDisk {
public:
    explicit SmallDisk(const QString& path)
        : m_path(QFile::encodeName(path)), m_isMounted(QDir().mkpath(path) && mountAlone()) {}
    ~SmallDisk() {
        if (m_isMounted)
            umount2(m_path.constData(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    [[nodiscard]] bool isMounted() const { return m_isMounted; }

    // Fills all of it but so many pages.
    [[nodiscard]] bool fillUpTo(long pages) const {
        const int file =
            open((m_path + "/ballast").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const std::string page(pageSize, 'b');
        off_t size = 0;
        while (file >= 0 && pwrite(file, page.data(), page.size(), size) == pageSize)
            size += pageSize;
        const bool isFilled =
            file >= 0 && ftruncate(file, std::max<off_t>(size - pages * pageSize, 0)) == 0;
        close(file);
        return isFilled;
    }
    void clear() const { unlink((m_path + "/ballast").constData()); }

private:
    [[nodiscard]] bool mountAlone() const {
        return unshare(CLONE_NEWNS) == 0 &&
               mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", m_path.constData(), "tmpfs", 0, "size=4m") == 0;
    }

    QByteArray m_path;
    bool m_isMounted;
};

void fillDisk(Report& report) {
    const QString path = QDir::homePath() + QStringLiteral("/disk");
    const SmallDisk disk(path);
    if (!disk.isMounted()) {
        report.done("small disk: not run: needs the right to mount");
        return;
    }
    for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(place, QFile::encodeName(path));
    Sum sum;
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, {QStringLiteral("TMPDIR=") + path});
        const long most = sizeOf(victim) / pageSize + 20;
        for (long pages = 0; pages <= most; ++pages) {
            if (!disk.fillUpTo(pages))
                throw std::runtime_error("The small disk cannot be filled.");
            (void)storer.store({});
            disk.clear();
        }
        sum.add(storer);
    }
    sum.figures("small disk", report);
}

} // namespace

void faultFullDisk(Report& report) {
    limitFiles(report);
    fillDisk(report);
}
