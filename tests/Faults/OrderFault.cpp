// What has to be on the disk before a save is acknowledged, from a trace of the system calls.

#include "Faults.h"

#include "Storer.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStandardPaths>

namespace {

// How far a save has come: its data on the disk, under its name, and the name on the disk.
struct Trace {
    enum Stage { Nothing, Synchronised, Renamed, Done };

    QByteArray target; // the file that is stored
    bool isDatabase;
    Stage stage = Nothing;
    long acknowledged = 0;
    long disordered = 0;

    void read(const QByteArray& line);
};

// The tracer writes the path of a descriptor behind it: fsync(5</home/user/a.xml>) = 0
void Trace::read(const QByteArray& line) {
    const QByteArray folder = target.left(target.lastIndexOf('/'));
    const QByteArray data = isDatabase ? target + "-wal>" : folder + "/.vlr-";
    const bool isSynchronisation = line.contains("sync(") && line.contains("= 0");
    if (line.contains("write(1<")) {
        ++acknowledged;
        disordered += stage < (isDatabase ? Synchronised : Done) ? 1 : 0;
        stage = Nothing;
    } else if (line.contains(data) && (line.contains("write(") || line.contains("pwrite64("))) {
        stage = Nothing;
    } else if (line.contains(data) && isSynchronisation) {
        stage = Synchronised;
    } else if (line.contains("rename") && line.contains('"' + target + '"')) {
        stage = stage == Synchronised ? Renamed : Nothing;
    } else if (line.contains('<' + folder + '>') && isSynchronisation && stage == Renamed) {
        stage = Done;
    }
}

Trace follow(const Victim& victim, const QString& tracer, long saves) {
    const QString output = QDir::homePath() + QStringLiteral("/trace");
    QProcess process;
    process.start(tracer, QStringList{QStringLiteral("-fyo"), output, QStringLiteral("-e"),
                                      QStringLiteral("trace=write,pwrite64,fsync,fdatasync,"
                                                     "rename,renameat2"),
                                      QCoreApplication::applicationFilePath(),
                                      QStringLiteral("--act"), QStringLiteral("store")} +
                              Storer::arguments(victim));
    for (long version = 1; version <= saves; ++version)
        process.write(QByteArray::number(qlonglong(version)) + " next\n");
    process.closeWriteChannel();
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
    if (tracer.isEmpty())
        return report.notRun("needs strace");
    const long saves = report.extent(5, 100);
    for (const Victim& victim : victims()) {
        const Trace trace = follow(victim, tracer, saves);
        // None at all where this process may not trace others.
        report.atLeast(std::string("saves in the trace: ") + victim.name, trace.acknowledged,
                       saves);
        report.never("acknowledged before it was on the disk", trace.disordered, victim.name);
    }
}
