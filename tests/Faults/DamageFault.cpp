// Record files that somebody or something has damaged.

#include "Faults.h"

#include "Cases.h"
#include "Mutation.h"
#include "QuietLog.h"
#include "Records.h"

#include "IO/DataIOManager.h"
#include "IO/DurableFile.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

QByteArray contentOf(const QString& path) {
    QByteArray bytes;
    (void)vlr::readWhole(path, qint64(64) << 20, bytes);
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

QByteArray wholeFile(const Record& record) {
    clearFolder(record.file());
    record.store();
    DataIOManager::closeRepository(); // Now all is in the file.
    return contentOf(record.file());
}

// Qt takes a settings file of the same size and time for the one it knows.
void writeWithTime(const QString& path, const QByteArray& bytes, long seconds) {
    writeFile(path, bytes);
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(QDateTime::fromSecsSinceEpoch(seconds),
                          QFileDevice::FileModificationTime))
        throw std::runtime_error("The damaged file cannot be dated.");
}

// In its place or beside it. Opening a database may change its first page, but none behind that.
bool isKept(const Record& record, const QByteArray& bytes) {
    constexpr int firstPage = 4096;
    const QFileInfoList files = filesBeside(record.file());
    return bytes.isEmpty() || std::any_of(files.begin(), files.end(), [&](const QFileInfo& file) {
               const QByteArray content = contentOf(file.filePath());
               const bool isDatabase =
                   file.suffix() == QLatin1String("sqlite") && bytes.size() > firstPage;
               return content == bytes ||
                      (isDatabase &&
                       content.mid(firstPage, bytes.size() - firstPage) == bytes.mid(firstPage));
           });
}

std::string judge(const Record& record, const QByteArray& bytes, bool isCut) {
    Record::Found found = Record::Torn;
    std::string why;
    try {
        found = record.read();
    } catch (const std::exception& exception) {
        why = exception.what();
    }
    if (found == Record::Torn || (found == Record::Sound && isCut && !record.isAppendedTo))
        return "neither old, default nor whole " + why;
    const bool isLost = found == Record::Nothing || found == Record::Refused;
    return isLost && !isKept(record, bytes) ? "not kept" : "";
}

} // namespace

void faultDamage(Report& report) {
    const QString act = QStringLiteral("damage");
    const auto mutations = report.extent(2000, 100000) / static_cast<long>(records().size());
    for (const Record& record : records()) {
        const QString name = QLatin1String(record.name);
        const long size = wholeFile(record).size();
        const long step = std::max(1L, size / report.extent(1000, size));
        const std::string bad = "believed or not kept: " + name.toStdString();
        const long cuts = judgeCases(report, act, (size + step - 1) / step, bad,
                                     {name, QStringLiteral("cut"), QString::number(step)});
        const long changes =
            judgeCases(report, act, mutations, bad, {name, QStringLiteral("change")});
        // Nothing that is stored is shorter than this.
        report.count("cuts: " + name.toStdString(), cuts, std::max(100L, size / step));
        report.count("mutations", changes, mutations * static_cast<long>(records().size()));
    }
}

// Arguments behind the cases: the record, "cut" or "change", and by how many bytes cuts differ.
int actDamage(const QStringList& arguments) {
    const Record& record = named(records(), arguments.value(2));
    const bool isCut = arguments.value(3) == QLatin1String("cut");
    const QByteArray whole = wholeFile(record);
    const QuietLog quiet;
    return doCases(arguments, [&](long number) {
        const QByteArray bytes = isCut ? whole.left(static_cast<int>(number) * arguments[4].toInt())
                                       : mutated(whole, static_cast<quint32>(number));
        clearFolder(record.file());
        writeWithTime(record.file(), bytes, number);
        return judge(record, bytes, isCut);
    });
}
