// Files and messages that somebody or something has damaged: whole ones, every beginning of them,
// and random changes.

#include "Faults.h"

#include "Cases.h"
#include "Mutation.h"
#include "QuietLog.h"
#include "Victims.h"

#include "Fuzz/Targets.h"

#include "Files/DurableFile.h"

namespace {

struct Kind {
    const char* name; ///< Of a victim, or of a folder of the corpus.
    QByteArray (*read)(const QByteArray&);
    bool isSealed; ///< The beginning of a whole one is none.
};

constexpr Kind kinds[] = {
    {"configuration", &fuzzConfiguration, true},
    {"settings", &fuzzSettings, true},
    {"patient", &fuzzPatients, true},
    {"Xml", &fuzzXml, true},
    {"Tool", &fuzzTool, true},
    {"Settings", &fuzzSettings, false},
    {"Recording", &fuzzRecording, false},
    {"Igtl", &fuzzIgtl, false},
    {"Image", &fuzzImage, false},
};

QByteArray contentOf(const QString& path) {
    QByteArray bytes;
    const CaError error = vlr::readWhole(path, qint64(64) << 20, bytes);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    return bytes;
}

// Of the kind; what the library stores is made here.
QStringList samples(const Kind& kind) {
    const QDir folder(QStringLiteral(VLR_FUZZ_CORPUS "/") + QLatin1String(kind.name));
    QStringList paths;
    for (const QFileInfo& file : folder.entryInfoList(QDir::Files, QDir::Name))
        paths << file.filePath();
    if (!folder.exists()) {
        const Victim& stored = victim(QLatin1String(kind.name));
        if (stored.store(1) != CaError::nullError)
            throw std::runtime_error("There is nothing to damage.");
        DataIOManager::closeRepository(); // Now all is in the file.
        paths << stored.file();
    }
    return paths;
}

} // namespace

void faultDamage(Report& report) {
    for (const Kind& kind : kinds) {
        const QStringList paths = samples(kind);
        const std::string name = kind.name;
        const long changes = report.extent(250, 11000) / std::max(1, paths.size());
        for (const QString& path : paths) {
            const long size = contentOf(path).size();
            const long step = std::max(1L, size / report.extent(kind.isSealed ? 1000 : 100, size));
            const long cases = 1 + (size + step - 1) / step + changes;
            const long begun =
                judgeCases(report, QStringLiteral("damage"), cases, "taken for whole: " + name,
                           {QLatin1String(kind.name), path, QString::number(step)});
            report.count("cuts", begun - 1 - changes, 1);
            report.count("mutations", changes);
        }
        report.atLeast("whole ones: " + name, paths.size(), 1);
    }
}

// Arguments behind the cases: the kind, its file, and by how many bytes cuts differ. The cases are
// the whole, the cuts, and changes.
int actDamage(const QStringList& arguments) {
    const Kind& kind = named(kinds, arguments.value(2));
    const QByteArray whole = contentOf(arguments.value(3));
    const int step = arguments.value(4).toInt();
    const long cuts = (whole.size() + step - 1) / step;
    const bool isStored = !arguments[3].startsWith(QLatin1String(VLR_FUZZ_CORPUS));
    const QuietLog quiet;
    const QByteArray read = kind.read(whole);
    return doCases(arguments, [&](long number) -> std::string {
        nameCase(arguments[3].toStdString());
        if (number > cuts) {
            (void)kind.read(mutated(whole, static_cast<quint32>(number)));
            return {};
        }
        const QByteArray cut =
            kind.read(number == 0 ? whole : whole.left(static_cast<int>(number - 1) * step));
        const bool isWhole = !kind.isSealed || cut.isEmpty() || cut == read;
        const bool isUsed = number > 0 || cut == read;
        return isWhole && isUsed && !(read.isEmpty() && isStored) ? "" : "is another one";
    });
}
