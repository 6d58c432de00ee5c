// What has to be on the disk before a save is acknowledged, from a trace of the system calls.

#include "Faults.h"

#include "Victims.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

namespace {

// How far a save has come.
struct Trace {
    QByteArray target; // the file that is stored
    bool isDatabase;
    bool isDataSynchronised = false;
    bool isRenamed = false;
    bool isFolderSynchronised = false;
    long acknowledged = 0;
    long disordered = 0;

    void read(const QByteArray& line);

private:
    void acknowledge() {
        ++acknowledged;
        const bool isInOrder = isDatabase ? isDataSynchronised : isRenamed && isFolderSynchronised;
        disordered += isInOrder ? 0 : 1;
        isDataSynchronised = isRenamed = isFolderSynchronised = false;
    }
};

// The tracer writes the path of a descriptor behind it: fsync(5</home/user/a.xml>) = 0
void Trace::read(const QByteArray& line) {
    const QByteArray folder = target.left(target.lastIndexOf('/'));
    const QByteArray data = isDatabase ? target + "-wal>" : folder + "/.vlr-";
    const bool isSynchronisation = line.contains("sync(") && line.contains("= 0");
    const bool isWrite = line.contains("write(") || line.contains("pwrite64(");
    if (line.contains("write(1<")) {
        acknowledge();
    } else if (line.contains(data) && isWrite) {
        isDataSynchronised = false;
    } else if (line.contains(data) && isSynchronisation) {
        isDataSynchronised = true;
    } else if (line.contains("rename") && line.contains('"' + target + '"')) {
        isRenamed = isDataSynchronised;
        isFolderSynchronised = false;
    } else if (line.contains('<' + folder + '>') && isSynchronisation) {
        isFolderSynchronised = isRenamed;
    }
}

Trace follow(const Victim& victim, const QString& tracer, long saves) {
    const QString output = QDir::homePath() + QStringLiteral("/trace");
    QProcess process;
    process.start(tracer, {QStringLiteral("-f"), QStringLiteral("-y"), QStringLiteral("-o"), output,
                           QStringLiteral("-e"),
                           QStringLiteral("trace=write,pwrite64,fsync,fdatasync,rename,renameat2"),
                           QCoreApplication::applicationFilePath(), QStringLiteral("--act"),
                           QStringLiteral("save"), QLatin1String(victim.name), QStringLiteral("1"),
                           QString::number(saves)});
    process.waitForFinished(-1);
    Trace trace{QFile::encodeName(victim.file()), victim.file().endsWith(QLatin1String(".sqlite"))};
    QFile file(output);
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray& line : file.readAll().split('\n'))
            trace.read(line);
    return trace;
}

} // namespace

void faultOrder(Report& report) {
    const QString tracer = QStandardPaths::findExecutable(QStringLiteral("strace"));
    if (tracer.isEmpty()) {
        report.done("not run: needs strace");
        return;
    }
    const long saves = report.extent(5, 100);
    for (const Victim& victim : victims()) {
        const Trace trace = follow(victim, tracer, saves);
        const std::string name = victim.name;
        // None at all where this process may not trace others.
        report.atLeast(name + ": saves in the trace", trace.acknowledged, saves);
        report.atMost(name + ": acknowledged before it was on the disk", trace.disordered, 0);
    }
}
