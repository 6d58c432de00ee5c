// Documents that are made to exhaust whoever reads them: larger than what a reader takes, and as
// large as that.

#include "Faults.h"

#include "Cases.h"
#include "PeakMemory.h"
#include "QuietLog.h"

#include "Documents/TreeXml.h"
#include "Fuzz/Input.h"
#include "Tracking/ToolGeometry.h"

#include <QtCore/QTextCodec>

#include <ctime>
#include <malloc.h>

namespace {

constexpr int mebibyte = 1 << 20;
const QByteArray entityName = QByteArrayLiteral("&a11;");

enum Syntax { Tree, Settings, Tool };

// Ten times ten times ... the same.
QByteArray entities() {
    QByteArray text = "<!DOCTYPE vlr [<!ENTITY a0 \"b\">";
    for (int level = 1; level < 12; ++level)
        text += "<!ENTITY a" + QByteArray::number(level) + " \"" +
                QByteArray("&a" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
    return text + "]>";
}

const QByteArray tree = "<vlr version=\"1\"><data class=\"Configuration\" id=\"a\">";
const QByteArray treeEnd = "</data></vlr>";
const QByteArray tool = "<tool version=\"1\" name=\"a\">";

struct Giant {
    Syntax syntax;
    const char* name;
    QByteArray begin;
    QByteArray unit; ///< Repeated until the document is large enough; '#' stands for its number.
    QByteArray end;
    bool mayBeTaken = false; ///< Where it is as large as the reader takes.
    const char* encoding = "UTF-8";
    int width = 1; ///< Of a character in it, in bytes.
};

const Giant giants[] = {
    {Tree, "depth", tree, "<data>", ""},
    {Tree, "an attribute", tree + "<attribute name=\"b\" value=\"", "c", "\"/>" + treeEnd, true},
    {Tree, "elements", tree, "<data/>", treeEnd},
    {Tree, "attributes of an item", tree, "<attribute name=\"a#\" value=\"\"/>", treeEnd},
    {Tree, "attributes in an element", "<vlr version=\"1\"><data", " a#=\"\"", "/></vlr>"},
    {Tree, "entities", entities() + tree, entityName, treeEnd},
    {Tree, "entities in UTF-16", entities() + tree, entityName, treeEnd, false, "UTF-16", 2},
    {Tree, "entities in UTF-32", entities() + tree, entityName, treeEnd, false, "UTF-32", 4},
    {Tree, "entities in ISO 8859-1",
     "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + entities() + tree, entityName, treeEnd},
    {Tree, "a long entity", "<!DOCTYPE vlr [<!ENTITY a \"", "b",
     "\">]>" + tree + "<attribute name=\"c\" value=\"" + QByteArray("&a;").repeated(1000) + "\"/>" +
         treeEnd},
    {Settings, "keys", "[a]\n", "#=1\n", ""},
    {Settings, "groups", "", "[#]\na=1\n", ""},
    {Settings, "depth of groups", "[a]\nb", "\\b", "=1\n", true},
    {Settings, "a value", "[a]\nb=", "c", "\n", true},
    {Settings, "a list", "[a]\nb=", "c, ", "\n", true},
    {Settings, "escapes", "[a]\nb=", "\\x40", "\n", true},
    {Settings, "lines without a key", "[a]\n", "b\n", ""},
    {Tool, "depth", tool, "<a>", ""},
    {Tool, "markers", tool, "<marker x=\"#\" y=\"0\" z=\"0\"/>", "</tool>"},
    {Tool, "attributes", "<tool", " a#=\"\"", "/>"},
    {Tool, "a name", "<tool version=\"1\" name=\"", "a", "\"/>"},
    {Tool, "entities", entities() + tool, entityName, "</tool>"},
};

// Of this size at most, unless that is less than its beginning and end.
QByteArray made(const Giant& giant, int size) {
    QByteArray document = giant.begin;
    document.reserve(size);
    const QList<QByteArray> parts = giant.unit.split('#');
    constexpr int longestNumber = 8;
    const int most = size / giant.width - giant.unit.size() - giant.end.size() - longestNumber;
    for (int number = 0; document.size() < most; ++number) {
        document += parts.front();
        if (parts.size() > 1)
            document += QByteArray::number(number) + parts.back();
    }
    document += giant.end;
    return giant.width == 1 ? document
                            : QTextCodec::codecForName(giant.encoding)
                                  ->fromUnicode(QString::fromLatin1(document));
}

QString configurationPath() {
    return DataIOManager::configurationPath(QStringLiteral("Giant"));
}

struct Reader {
    const char* name;
    Syntax syntax;
    int limit; ///< The largest document that it looks into, in bytes.
    bool (*refuses)(const QByteArray& document); ///< True as well for reading nothing of it.
    QString (*file)();                           ///< Where it expects the document, if in a file.
};

const Reader readers[] = {
    {"tree", Tree, 64 * mebibyte,
     [](const QByteArray& document) {
         DataTreeNode root; // with what a patient may have at most
         return !vlr::readTree(document, root, {qint64(64) * mebibyte, 64, 1000000, 4096}).isNull();
     },
     nullptr},
    {"configuration", Tree, 4 * mebibyte,
     [](const QByteArray&) {
         const DataPointer<Configuration> configuration(new Configuration);
         return !DataIOManager::loadConfiguration(QStringLiteral("Giant"), configuration).isNull();
     },
     &configurationPath},
    {"settings", Settings, mebibyte / 2,
     [](const QByteArray&) { return vlr::Settings::keys().isEmpty(); }, &vlr::Settings::filePath},
    {"tool", Tool, 64 << 10,
     [](const QByteArray&) {
         vlr::ToolGeometry geometry;
         return !vlr::readToolGeometry(configurationPath(), geometry).isNull();
     },
     &configurationPath},
};

struct Meeting {
    const Reader& reader;
    const Giant& giant;
    bool isWithinLimit;
};

std::vector<Meeting> meetings() {
    std::vector<Meeting> all;
    for (const Reader& reader : readers)
        for (const Giant& giant : giants)
            for (const bool isWithinLimit : {true, false})
                if (giant.syntax == reader.syntax)
                    all.push_back({reader, giant, isWithinLimit});
    return all;
}

std::string meet(const Meeting& meeting, bool isTimed) {
    const Reader& reader = meeting.reader;
    const QByteArray document =
        made(meeting.giant, meeting.isWithinLimit ? reader.limit : reader.limit + 4096);
    nameCase(std::string(reader.name) + ", " + meeting.giant.name + ", " +
             std::to_string(document.size()) + " bytes");
    if (reader.file)
        writeInput(reader.file(), document);
    vlr::Settings::reload();
    malloc_trim(0); // What the last one gave back would not show.
    const PeakMemory memory;
    const std::clock_t start = std::clock(); // without the time of other programs
    const bool isRefused = reader.refuses(document);
    const auto milliseconds = (std::clock() - start) * 1000 / CLOCKS_PER_SEC;
    const qint64 growth = std::max<qint64>(0, memory.growth() - mebibyte); // what any work takes
    const auto percent = static_cast<long>(growth * 100 / document.size());
    if (reader.file)
        QDir(QFileInfo(reader.file()).path()).removeRecursively();
    if (isTimed)
        reportAtMost("longest, milliseconds", milliseconds, 100);
    if (PeakMemory::isMeasurable() && isRefused)
        reportAtMost("memory for what is refused, percent of its size", percent, 200);
    if (PeakMemory::isMeasurable() && !isRefused)
        reportAtMost("memory for what is taken, MiB", static_cast<long>(growth / mebibyte), 32);
    return isRefused || (meeting.giant.mayBeTaken && meeting.isWithinLimit) ? "" : "accepted";
}

} // namespace

void faultGiant(Report& report) {
    const auto count = static_cast<long>(meetings().size());
    const bool isTimed = report.isLong() && !isSanitized;
    report.count("documents",
                 judgeCases(report, QStringLiteral("giant"), count, "accepted",
                            {isTimed ? QStringLiteral("timed") : QString()}),
                 count);
    if (!PeakMemory::isMeasurable())
        report.notRun("memory: needs Linux and a build without sanitizers");
}

int actGiant(const QStringList& arguments) {
    const QuietLog quiet;
    const std::vector<Meeting> all = meetings();
    return doCases(arguments, [&](long number) {
        return meet(all[static_cast<std::size_t>(number)], !arguments.value(2).isEmpty());
    });
}
