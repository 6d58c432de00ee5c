// Record files that somebody or something has damaged.

#include "Faults.h"

#include "Child.h"
#include "Mutation.h"
#include "Records.h"

#include "IO/DataIOManager.h"
#include "IO/DurableFile.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr qint64 longestRecord = qint64(64) << 20;

QByteArray contentOf(const QString& path) {
    QByteArray bytes;
    (void)vlr::readWhole(path, longestRecord, bytes);
    return bytes;
}

QFileInfoList filesBeside(const QString& path) {
    return QFileInfo(path).dir().entryInfoList(QDir::Files | QDir::Hidden);
}

// What remembers the file is to forget it, and what was kept of the last one goes.
void clearFolder(const QString& path) {
    DataIOManager::closeRepository();
    vlr::Settings::reload();
    for (const QFileInfo& file : filesBeside(path))
        QFile::remove(file.filePath());
}

// In its place or beside it. Opening a database may change its first page, but none behind that.
bool isKept(const Record& record, const QByteArray& bytes) {
    constexpr int firstPage = 4096;
    for (const QFileInfo& file : filesBeside(record.file())) {
        const QByteArray content = contentOf(file.filePath());
        const bool isDatabase =
            file.suffix() == QLatin1String("sqlite") && bytes.size() > firstPage;
        if (content == bytes || (isDatabase && content.mid(firstPage, bytes.size() - firstPage) ==
                                                   bytes.mid(firstPage)))
            return true;
    }
    return bytes.isEmpty();
}

const char* judge(const Record& record, const QByteArray& bytes, bool isCut) {
    Record::Found found = Record::Torn;
    try {
        found = record.read();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
    }
    const bool isWhole =
        found != Record::Torn && (found != Record::Sound || !isCut || record.isAppendedTo);
    if (!isWhole)
        return "torn";
    const bool isLost = found == Record::Nothing || found == Record::Refused;
    return isLost && !isKept(record, bytes) ? "gone" : "good";
}

struct Tally {
    long done = 0;
    long crashes = 0;
    long torn = 0;
    long gone = 0;
};

// Damages one after the other in processes of their own until all are through: one that crashes
// is counted, and the next process goes on behind it.
void run(const Record& record, const QString& damage, long count, long step, Tally& tally,
         Report& report) {
    long next = 0;
    while (next < count) {
        Child child(QStringLiteral("damage"),
                    {QLatin1String(record.name), damage, QString::number(next),
                     QString::number(count), QString::number(step)});
        child.process().closeReadChannel(QProcess::StandardError);
        bool isAtEnd = false;
        long last = next;
        for (QByteArray line = child.readLine(); !line.isEmpty(); line = child.readLine()) {
            const QList<QByteArray> words = line.trimmed().split(' ');
            isAtEnd = words.front() == "end";
            if (isAtEnd)
                break;
            last = words.front().toLong();
            tally.done += words.size() > 1 ? 1 : 0;
            tally.torn += words.value(1) == "torn" ? 1 : 0;
            tally.gone += words.value(1) == "gone" ? 1 : 0;
            if (words.size() > 1 && words[1] != "good")
                report.problem(std::string(record.name) + ", " + damage.toStdString() + ' ' +
                               words.join(' ').toStdString());
        }
        const int status = child.wait();
        next = isAtEnd ? count : last + step;
        if (isAtEnd && status == 0)
            continue;
        ++tally.crashes;
        report.problem(std::string(record.name) + ", " + damage.toStdString() + ' ' +
                       std::to_string(last) + ": ended with " + std::to_string(status));
    }
}

} // namespace

void faultDamage(Report& report) {
    const long mutations = report.extent(2000, 100000);
    const auto kinds = static_cast<long>(damageableRecords().size());
    Tally cuts;
    Tally changes;
    for (const Record& record : damageableRecords()) {
        clearFolder(record.file());
        record.store();
        DataIOManager::closeRepository(); // Now all is in the file.
        const long size = QFileInfo(record.file()).size();
        const long most = report.extent(1000, size);
        run(record, QStringLiteral("cut"), size, std::max(1L, size / most), cuts, report);
        run(record, QStringLiteral("change"), mutations / kinds, 1, changes, report);
    }
    report.done(std::to_string(cuts.done) + " cuts, " + std::to_string(changes.done) +
                " mutations of configuration, settings, patients, tool and recording");
    report.atLeast("mutations read", changes.done, mutations / kinds * kinds);
    report.atMost("crashes", cuts.crashes + changes.crashes, 0);
    report.atMost("neither old nor default nor whole", cuts.torn + changes.torn, 0);
    report.atMost("bad files not kept", cuts.gone + changes.gone, 0);
}

// Arguments: the record, "cut" or "change", first, end and step of the sizes or seeds. Tells each
// before it is tried and what came of it afterwards.
int actDamage(const QStringList& arguments) {
    const Record& record = damageableRecord(arguments.value(0));
    const bool isCut = arguments.value(1) == QLatin1String("cut");
    clearFolder(record.file());
    record.store();
    DataIOManager::closeRepository();
    const QByteArray whole = contentOf(record.file());
    const long step = arguments.value(4).toLong();
    for (long i = arguments.value(2).toLong(); i < arguments.value(3).toLong(); i += step) {
        std::printf("%ld\n", i);
        std::fflush(stdout);
        clearFolder(record.file());
        const QByteArray bytes =
            isCut ? whole.left(static_cast<int>(i)) : mutated(whole, static_cast<quint32>(i));
        QFile file(record.file());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
            throw std::runtime_error("The damaged file cannot be written.");
        // Qt takes a settings file of the same size and time for the one it knows.
        file.setFileTime(QDateTime::fromSecsSinceEpoch(i), QFileDevice::FileModificationTime);
        file.close();
        std::printf("%ld %s\n", i, judge(record, bytes, isCut));
    }
    std::printf("end\n");
    return 0;
}
