// Folders and files that the user may not write to, among them those of the log.

#include "Faults.h"

#include "Storer.h"

#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;

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

    setRights(user, 0555, 0400);
    Child log(QStringLiteral("log"));
    const int status = log.wait();
    setRights(user, 0700, 0600);
    report.atMost("unwritable log: status of the process", status, 0);
    report.atLeast("unwritable log: lines about that", log.standardError().count("log file"), 1);
}

// A program whose log cannot be written: it goes on, and says so.
int actLog(const QStringList&) {
    becomeOrdinary();
    for (int i = 0; i < 1000; ++i)
        VLR_LOG(Warning) << "Record " << i;
    vlr::Log::flush();
    return vlr::Log::filePath().empty() ? 0 : 1;
}
