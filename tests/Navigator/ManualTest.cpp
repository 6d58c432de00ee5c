// What the manual says of settings is what the code declares.

#include "AppBase/Settings/KnownSettings.h"
#include "Common/Selector.h"
#include "NavigatorTest.h"

#include <QtCore/QDir>

#include <algorithm>

namespace {

QString row(const vlr::KnownSetting& setting) {
    QString key = QLatin1Char('/') + setting.key;
    key.replace(QStringLiteral("/Velora/Application/"), QString());
    QString shown = setting.defaultText;
    shown.replace(QDir::homePath(), QStringLiteral("~"));
    const QString otherwise =
        setting.otherwise.isEmpty() ? QString() : QStringLiteral(" Else: ") + setting.otherwise;
    return QStringLiteral("| `%1` | %2 | %3 | %4 |\n")
        .arg(key, describe(setting.type), shown, setting.meaning + otherwise);
}

} // namespace

// After a change of a declaration, the table that this prints goes into the README.
TEST(Manual, ListsTheSettingsAsTheyAreDeclared) {
    std::vector<vlr::KnownSetting> settings = vlr::knownSettings();
    std::sort(settings.begin(), settings.end(),
              [](const auto& one, const auto& other) { return one.key < other.key; });
    QString table = QStringLiteral(
        "| key (below `Velora/Application/`, or `/...`) | takes | default | meaning |\n"
        "|---|---|---|---|\n");
    EXPECT_FALSE(selectorKey().isEmpty()); // Its declaration is linked in.
    for (const vlr::KnownSetting& setting : settings)
        table += row(setting);
    EXPECT_TRUE(QString::fromUtf8(vlrTest::readFile(QStringLiteral(VLR_README))).contains(table))
        << "The table of settings in README.md has to read:\n\n"
        << table.toStdString();
}
