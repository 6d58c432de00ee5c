// Documents that are made to exhaust whoever reads them.

#include "Faults.h"

#include "Child.h"
#include "PeakMemory.h"

#include "IO/DataIOManager.h"
#include "IO/TreeXml.h"
#include "Settings/vlrSettings.h"
#include "Tools/ToolGeometry.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextCodec>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr int million = 1000000;
const QByteArray beginning = "<vlr version=\"1\"><data class=\"DataItem\" id=\"a\">";

QByteArray deep() {
    return beginning + QByteArray("<data>").repeated(million);
}

QByteArray longAttribute() {
    return beginning + "<attribute name=\"b\" value=\"" + QByteArray(64 << 20, 'c') +
           "\"/></data></vlr>";
}

QByteArray manyElements() {
    return beginning + QByteArray("<data/>").repeated(million) + "</data></vlr>";
}

QByteArray manyTags() {
    return beginning + QByteArray("<attribute/>").repeated(million) + "</data></vlr>";
}

QByteArray manyAttributes() {
    QByteArray document = "<vlr version=\"1\"><data";
    document.reserve(16 * million);
    for (int i = 0; i < million; ++i)
        document += " a" + QByteArray::number(i) + "=\"\"";
    return document + "/></vlr>";
}

// Ten times ten times ... the same.
QByteArray entities(const QByteArray& encoding) {
    QByteArray document =
        "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>\n<!DOCTYPE vlr [<!ENTITY a0 \"b\">";
    for (int level = 1; level < 12; ++level)
        document += "<!ENTITY a" + QByteArray::number(level) + " \"" +
                    QByteArray("&a" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
    document += "]>" + beginning + "<attribute name=\"c\" value=\"&a11;\"/></data></vlr>";
    return QTextCodec::codecForName(encoding)->fromUnicode(QString::fromLatin1(document));
}

// One long text, a thousand times.
QByteArray longEntity() {
    return "<!DOCTYPE vlr [<!ENTITY a \"" + QByteArray(million, 'b') + "\">]>" + beginning +
           "<attribute name=\"c\" value=\"" + QByteArray("&a;").repeated(1000) +
           "\"/></data></vlr>";
}

struct Giant {
    const char* name;
    QByteArray (*make)();
};

constexpr Giant giants[] = {
    {"depth 1,000,000", &deep},
    {"an attribute of 64 MB", &longAttribute},
    {"1,000,000 elements", &manyElements},
    {"1,000,000 attributes of an item", &manyTags},
    {"1,000,000 attributes in an element", &manyAttributes},
    {"an entity bomb", [] { return entities("UTF-8"); }},
    {"an entity bomb in UTF-16", [] { return entities("UTF-16"); }},
    {"an entity bomb in UTF-32", [] { return entities("UTF-32"); }},
    {"an entity bomb in ISO 8859-1", [] { return entities("ISO-8859-1"); }},
    {"a long entity", &longEntity},
};

void write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("The document cannot be written.");
}

const QString configurationName = QStringLiteral("Giant");

QString toolPath() {
    return DataIOManager::configurationPath(QStringLiteral("GiantTool"));
}

bool isTreeRefused(const QByteArray& document) {
    DataTreeNode root;
    // What a patient may have at most.
    return !vlr::readTree(document, root, {qint64(64) << 20, 64, million, 4096}).isNull();
}

bool isConfigurationRefused(const QByteArray&) {
    const DataPointer<Configuration> configuration(new Configuration);
    return !DataIOManager::loadConfiguration(configurationName, configuration).isNull();
}

bool areSettingsRefused(const QByteArray&) {
    return vlr::Settings::keys().isEmpty();
}

bool isToolRefused(const QByteArray&) {
    vlr::ToolGeometry geometry;
    return !vlr::readToolGeometry(toolPath(), geometry).isNull();
}

struct Reader {
    const char* name;
    bool (*refuses)(const QByteArray& document); ///< True as well for reading nothing of it.
    QString (*file)() = nullptr;                 ///< Where it expects the document.
    /// The first ones that are none for it either: an entity means nothing to settings.
    int giantCount = static_cast<int>(std::size(giants));
};

constexpr Reader readers[] = {
    {"tree", &isTreeRefused},
    {"configuration", &isConfigurationRefused,
     [] { return DataIOManager::configurationPath(configurationName); }},
    {"settings", &areSettingsRefused, &vlr::Settings::filePath, 5},
    {"tool", &isToolRefused, &toolPath},
};

struct Figures {
    long crashes = 0;
    long accepted = 0;
    qint64 slowest = 0;    // milliseconds
    qint64 mostMemory = 0; // percent of the input
};

void meet(int reader, int giant, Figures& figures, Report& report) {
    const std::string what = std::string(readers[reader].name) + ", " + giants[giant].name;
    Child child(QStringLiteral("giant"), {QString::number(reader), QString::number(giant)});
    const QList<QByteArray> words = child.readLine().trimmed().split(' ');
    const int status = child.wait();
    if (status != 0 || words.size() != 4) {
        ++figures.crashes;
        report.problem(what + ": ended with " + std::to_string(status));
        return;
    }
    constexpr qint64 small = qint64(1) << 20; // what any work takes
    const qint64 milliseconds = words[1].toLongLong();
    const qint64 percent = std::max<qint64>(0, words[2].toLongLong() - small) * 100 /
                           std::max<qint64>(1, words[3].toLongLong());
    figures.accepted += words[0] == "refused" ? 0 : 1;
    figures.slowest = std::max(figures.slowest, milliseconds);
    figures.mostMemory = std::max(figures.mostMemory, percent);
    if (words[0] != "refused" || milliseconds > 100 || percent > 200)
        report.problem(what + ": " + words[0].toStdString() + " in " +
                       std::to_string(milliseconds) + " ms, memory " + std::to_string(percent) +
                       " % of the input");
}

} // namespace

void faultGiant(Report& report) {
    Figures figures;
    for (int reader = 0; reader < static_cast<int>(std::size(readers)); ++reader)
        for (int giant = 0; giant < readers[reader].giantCount; ++giant)
            meet(reader, giant, figures, report);
    report.done(std::to_string(std::size(readers)) + " readers, " +
                std::to_string(std::size(giants)) + " documents");
    report.atMost("crashes", figures.crashes, 0);
    report.atMost("accepted", figures.accepted, 0);
    if (report.isLong() && PeakMemory::isMeasurable())
        report.atMost("slowest refusal, milliseconds", figures.slowest, 100);
    else
        report.done("slowest refusal: " + std::to_string(figures.slowest) + " ms; not judged here");
    if (PeakMemory::isMeasurable())
        report.atMost("memory beyond 1 MiB, percent of the input", figures.mostMemory, 200);
    else
        report.done("memory: not run: needs Linux and a build without sanitizers");
}

// Arguments: the numbers of the reader and the document. Says whether it was refused, after how
// many milliseconds, with how much memory, and how large it is.
int actGiant(const QStringList& arguments) {
    const Reader& reader = readers[arguments.value(0).toInt()];
    const QByteArray document = giants[arguments.value(1).toInt()].make();
    if (reader.file)
        write(reader.file(), document);
    QElapsedTimer timer;
    const PeakMemory memory;
    timer.start();
    const bool isRefused = reader.refuses(document);
    const qint64 milliseconds = timer.elapsed();
    std::printf("%s %lld %lld %d\n", isRefused ? "refused" : "accepted", milliseconds,
                memory.growth(), document.size());
    return 0;
}
