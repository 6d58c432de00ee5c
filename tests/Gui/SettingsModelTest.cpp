#include "AppBase/SettingsModel.h"
#include "Gui/GuiTest.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QRect>
#include <QtGui/QFont>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>

#include <algorithm>
#include <gmock/gmock.h>

using namespace vlr;
using Kind = SettingsType::Kind;

namespace {

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

QString known(const char* name) {
    return text("Velora/Application/") + text(name);
}

SettingsType ofKind(Kind kind) {
    SettingsType type;
    type.kind = kind;
    return type;
}

// The settings of two processes: what is written to `stored` directly, the other one did.
class MemorySource : public SettingsSource {
public:
    CaError read(QHash<QString, QVariant>& values) override {
        values = stored;
        return CaError::nullError;
    }
    CaError apply(const std::vector<SettingsChange>& changes, QStringList& conflicts) override {
        if (!error.isNull())
            return error;
        for (const SettingsChange& change : changes)
            if (stored.value(change.key) != change.expected)
                conflicts << change.key;
        for (const SettingsChange& change : changes)
            if (conflicts.isEmpty() && change.value.isValid())
                stored.insert(change.key, change.value);
            else if (conflicts.isEmpty())
                stored.remove(change.key);
        return CaError::nullError;
    }

    QHash<QString, QVariant> stored;
    CaError error;
};

class SettingsModelTest : public vlrTest::GuiTest {
protected:
    SettingsModelTest() {
        source.stored = {{text("Site/Number"), text("5")},
                         {text("Site/Number/Unit"), text("mm")},
                         {known("MaxPatientID"), text("7000")}};
    }
    MemorySource source;
};

// "key: expected -> value" for every change.
QString toText(const std::vector<SettingsChange>& changes) {
    QStringList lines;
    for (const SettingsChange& change : changes)
        lines << change.key + text(": ") + change.expected.toString() + text(" -> ") +
                     change.value.toString();
    return lines.join(text("; "));
}

QString textOf(const SettingsModel& model, const QString& key, int column, int role) {
    return model.indexOf(key).siblingAtColumn(column).data(role).toString();
}

bool setValue(SettingsModel& model, const QString& key, const char* value) {
    return model.setData(model.indexOf(key).siblingAtColumn(SettingsModel::ValueColumn),
                         text(value));
}

} // namespace

TEST(SettingsValue, TheTypeOfUnknownKeysIsTheOneTheirValueShows) {
    const struct {
        QVariant stored;
        Kind kind;
    } cases[] = {
        {text("true"), Kind::Bool},        {text("false"), Kind::Bool},
        {text("True"), Kind::Text},        {text("0"), Kind::Integer},
        {text("-12"), Kind::Integer},      {text("007"), Kind::Text},
        {text("99999999999"), Kind::Text}, {text("1.50"), Kind::Number},
        {text("-2e-3"), Kind::Number},     {text("1e999"), Kind::Text},
        {text("nan"), Kind::Text},         {text(""), Kind::Text},
        {text("1 0 0"), Kind::Text},       {QSize(1, 2), Kind::Size},
        {QRect(1, 2, 3, 4), Kind::Other},  {QStringList{text("a"), text("b")}, Kind::Text},
        {QByteArray("bytes"), Kind::Text},
    };
    for (const auto& c : cases)
        EXPECT_EQ(typeOf(c.stored).kind, c.kind) << rawSettingText(c.stored).toStdString();
}

TEST(SettingsValue, TextsAreTakenOrRefused) {
    SettingsType colour = ofKind(Kind::Vector);
    colour.minimum = 0;
    colour.maximum = 255;
    const SettingsType choice = choiceType({text("left"), text("right")});
    const SettingsType anyCase = choiceType({text("left"), text("right")}, true);
    const struct {
        SettingsType type;
        const char* typed;
        const char* shown; // null: refused
    } cases[] = {
        {ofKind(Kind::Bool), " Yes ", "true"},
        {ofKind(Kind::Bool), "0", "false"},
        {ofKind(Kind::Bool), "maybe", nullptr},
        {integerType(1, 64), "64", "64"},
        {integerType(1, 64), "65", nullptr},
        {integerType(1, 64), "0", nullptr},
        {integerType(), "4.5", nullptr},
        {integerType(), "99999999999", nullptr},
        {ofKind(Kind::Number), "1.50", "1.5"},
        {ofKind(Kind::Number), "nan", nullptr},
        {ofKind(Kind::Number), "inf", nullptr},
        {ofKind(Kind::Number), "1,5", nullptr},
        {ofKind(Kind::Size), "640x480", "640 x 480"},
        {ofKind(Kind::Size), "640 480", "640 x 480"},
        {ofKind(Kind::Size), "640", nullptr},
        {ofKind(Kind::Size), "-1 x 5", nullptr},
        {colour, "(1, 0.5, 255)", "1 0.5 255"},
        {colour, "1 2", nullptr},
        {colour, "0 0 256", nullptr},
        {colour, "-1 0 0", nullptr},
        {choice, "left", "left"},
        {choice, "LEFT", nullptr},
        {choice, " left", nullptr},
        {anyCase, "LEFT", "left"},
        {anyCase, "left ", nullptr},
        {anyCase, "up", nullptr},
        {ofKind(Kind::Text), " as typed ", " as typed "},
        {ofKind(Kind::Other), "x", nullptr},
    };
    for (const auto& c : cases) {
        const ParsedSetting parsed = parseSetting(c.type, text(c.typed));
        EXPECT_EQ(parsed.value.isValid(), c.shown != nullptr) << c.typed;
        EXPECT_EQ(parsed.refusal.isEmpty(), c.shown != nullptr) << c.typed;
        EXPECT_EQ(settingText(c.type, parsed.value), text(c.shown)) << c.typed;
    }
}

// What the editor says of a stored text is what a program that asks for the value gets.
TEST_F(SettingsModelTest, TheEditorAndTheReadersAgree) {
    const QString key = text("Site/Value");
    vlrTest::expectLog(LogLevel::Warning, "Site/Value");
    for (const char* stored :
         {"",           "1",       "0",      "TRUE", " yes ", "off",      "2",   "maybe",
          "4.5",        "+7",      "1e3",    "nan",  "1,5",   "8 x 8",    "8x8", "8 8",
          "8 \u00d7 8", " 8 x 8 ", "-8 x 8", "8",    "1 0 0", "(1, 0, 0)"}) {
        ASSERT_EQ(Settings::set(key, stored), CaError::nullError);
        const auto read = [&](Kind kind) { return !isReadAsDefault(ofKind(kind), text(stored)); };
        const Vector3d vector(7, 7, 7);
        const bool isBool = Settings::get(key, true) == Settings::get(key, false);
        EXPECT_EQ(read(Kind::Bool), isBool) << stored;
        EXPECT_EQ(!isReadAsDefault(integerType(), text(stored)), Settings::get(key, -99) != -99)
            << stored;
        EXPECT_EQ(read(Kind::Number), Settings::get(key, -99.0) != -99.0) << stored;
        EXPECT_EQ(read(Kind::Size), Settings::get(key, QSize(9, 9)) != QSize(9, 9)) << stored;
        EXPECT_EQ(read(Kind::Vector), Settings::get(key, vector) != vector) << stored;
    }
}

TEST_F(SettingsModelTest, KnownSettingsAreUniqueAndTakeTheirOwnDefaults) {
    QStringList keys;
    for (const KnownSetting& setting : knownSettings()) {
        EXPECT_EQ(settingText(setting.type, parseSetting(setting.type, setting.defaultText).value),
                  setting.defaultText)
            << setting.key.toStdString();
        EXPECT_FALSE(setting.meaning.isEmpty());
        keys << setting.key;
    }
    EXPECT_EQ(keys.removeDuplicates(), 0);
}

TEST_F(SettingsModelTest, SpecialTextsAreChecked) {
    SettingsEdits edits(source);
    const struct {
        const char* name;
        const char* typed;
        bool isTaken;
    } cases[] = {
        {"ScreenshotShortcut", "Ctrl+P", true},
        {"ScreenshotShortcut", "", true},
        {"ScreenshotShortcut", "Ctrl+Nonsense", false},
        {"ShowSplashScreenMessageColor", "white", true},
        {"ShowSplashScreenMessageColor", "#12", false},
        {"WindowShowMode", "FullScreen", true},
        {"WindowShowMode", "tiny", false},
        {"SplashScreen.Timer", "-1", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(edits.set(known(c.name), text(c.typed)).isEmpty(), c.isTaken) << c.typed;
}

TEST_F(SettingsModelTest, OnlyWhatDiffersFromTheStoredIsAChange) {
    source.stored.insert(text("Site/List"), QStringList{text("a"), text("b")});
    SettingsEdits edits(source);
    const QString mode = known("WindowShowMode");
    const QString number = text("Site/Number");
    const QString added = text("Site/New");
    const struct {
        std::function<void()> act;
        const char* changes;
    } steps[] = {
        {[&] { edits.set(mode, text("Normal")); }, ""}, // the default that is shown
        {[&] { edits.set(text("Site/List"), text("a, b")); }, ""},
        {[&] { edits.set(number, text("x")); }, ""},
        {[&] { edits.set(number, text("6")); }, "Site/Number: 5 -> 6"},
        {[&] { edits.set(number, text("05")); }, ""},
        {[&] { edits.remove(number); }, "Site/Number: 5 -> "},
        {[&] { edits.revert(number); }, ""},
        {[&] { edits.add(added, ofKind(Kind::Bool)); }, "Site/New:  -> false"},
        {[&] { edits.set(added, text("true")); }, "Site/New:  -> true"},
        {[&] { edits.remove(added); }, ""},
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.rename(added, number); }, ""},
        // Both halves of a rename go together, whichever is taken back.
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.revert(added); }, ""},
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.rename(added, text("Site/Newer")); }, "Site/Newer:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.revert(number); }, ""},
        // A renamed setting may be deleted all the same.
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.remove(added); }, "Site/Number: 5 -> "},
        {[&] { edits.revert(number); }, ""},
    };
    int step = 0;
    for (const auto& s : steps) {
        s.act();
        EXPECT_EQ(toText(edits.changes()), text(s.changes)) << "step " << step;
        ++step;
    }
}

TEST_F(SettingsModelTest, ImpossibleKeysAreRefused) {
    SettingsEdits edits(source);
    edits.remove(text("Site/Number/Unit"));
    const struct {
        const char* key;
        bool isProblem;
    } cases[] = {
        {"", true},           {"/a", true},          {"a/", true},
        {"a//b", true},       {"/", true},           {"Site/Number", true},
        {"Site/New", false},  {"Site", false},       {"Site/Number/Unit", false}, // deleted
        {"a b/c.d-e", false}, {"Site/number", false}};
    for (const auto& c : cases)
        EXPECT_NE(edits.keyProblem(text(c.key)).isEmpty(), c.isProblem) << c.key;
    EXPECT_FALSE(edits.keyProblem(known("WindowShowMode")).isEmpty());
}

TEST_F(SettingsModelTest, ConflictsAreResolvedKeyByKey) {
    SettingsEdits edits(source);
    const QString number = text("Site/Number");
    const QString unit = text("Site/Number/Unit");
    edits.set(number, text("6"));
    edits.set(unit, text("cm"));
    edits.set(known("MaxPatientID"), text("1"));
    source.stored.insert(number, text("8"));
    source.stored.remove(unit);
    std::vector<SettingsConflict> conflicts;
    ASSERT_EQ(edits.apply(conflicts), CaError::nullError);
    ASSERT_EQ(conflicts.size(), 2U);
    EXPECT_EQ(conflicts[0].change.expected, text("5"));
    EXPECT_EQ(conflicts[0].theirs, text("8"));
    EXPECT_EQ(conflicts[0].change.value, text("6"));
    EXPECT_EQ(source.stored.value(known("MaxPatientID")), text("7000"));
    EXPECT_EQ(edits.changes().size(), 3U);

    conflicts[1].takeMine = true;
    edits.resolve(conflicts);
    EXPECT_EQ(edits.text(number), text("8"));
    ASSERT_EQ(edits.apply(conflicts), CaError::nullError);
    EXPECT_TRUE(conflicts.empty());
    EXPECT_EQ(source.stored.value(number), text("8"));
    EXPECT_EQ(source.stored.value(unit), text("cm"));
    EXPECT_EQ(source.stored.value(known("MaxPatientID")), text("1"));
    EXPECT_TRUE(edits.changes().empty());
}

TEST_F(SettingsModelTest, KeepingTheirsUndoesTheWholeRename) {
    const QString number = text("Site/Number");
    const QString added = text("Site/New");
    for (const QString& changed : {number, added}) {
        SettingsEdits edits(source);
        edits.rename(number, added);
        const QVariant before = source.stored.value(changed);
        source.stored.insert(changed, text("8"));
        std::vector<SettingsConflict> conflicts;
        ASSERT_EQ(edits.apply(conflicts), CaError::nullError);
        ASSERT_EQ(conflicts.size(), 1U);
        edits.resolve(conflicts);
        EXPECT_EQ(toText(edits.changes()), QString());
        if (before.isValid())
            source.stored.insert(changed, before);
        else
            source.stored.remove(changed);
    }
}

TEST_F(SettingsModelTest, AFailedWriteKeepsEverything) {
    SettingsEdits edits(source);
    edits.set(text("Site/Number"), text("6"));
    source.error = CaError("disk", "full");
    std::vector<SettingsConflict> conflicts;
    EXPECT_EQ(edits.apply(conflicts), source.error);
    EXPECT_EQ(toText(edits.changes()), text("Site/Number: 5 -> 6"));
}

TEST_F(SettingsModelTest, TheTreeFollowsEveryCommand) {
    SettingsModel model(source);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QString number = text("Site/Number");
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(model.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), text("Setting"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), text("Value"));
    EXPECT_EQ(model.key(model.indexOf(text("Site"))), QString());
    EXPECT_EQ(model.rowCount(model.indexOf(number)), 1); // a setting and a group

    model.add(text("Alpha/One"), ofKind(Kind::Text));
    EXPECT_EQ(model.indexOf(text("Alpha")).row(), 0);
    EXPECT_EQ(model.indexOf(text("Site")).row(), 1);
    model.rename(text("Alpha/One"), text("zeta"));
    EXPECT_FALSE(model.indexOf(text("Alpha")).isValid());
    EXPECT_EQ(model.indexOf(text("zeta")).row(), 2);
    model.remove(text("zeta"));
    EXPECT_EQ(model.rowCount(), 2);

    model.remove(number); // stays in sight until it is stored
    EXPECT_EQ(model.key(model.indexOf(number)), number);
    EXPECT_FALSE(setValue(model, number, "9"));
    source.stored.insert(text("Other/Process"), text("1"));
    std::vector<SettingsConflict> conflicts;
    ASSERT_EQ(model.apply(conflicts), CaError::nullError);
    EXPECT_EQ(model.key(model.indexOf(number)), QString()); // still a group
    EXPECT_TRUE(model.indexOf(text("Other/Process")).isValid());
    model.remove(text("Site/Number/Unit"));
    ASSERT_EQ(model.apply(conflicts), CaError::nullError);
    EXPECT_FALSE(model.indexOf(text("Site")).isValid());
}

TEST_F(SettingsModelTest, RowsSayWhatTheyAreInFontAndWords) {
    SettingsModel model(source);
    const QString mode = known("WindowShowMode");
    const QString id = known("MaxPatientID");
    const QString unit = text("Site/Number/Unit");
    const auto font = [&](const QString& key) {
        return model.indexOf(key).data(Qt::FontRole).value<QFont>();
    };
    const auto spoken = [&](const QString& key, int column) {
        return textOf(model, key, column, Qt::AccessibleTextRole).toStdString();
    };
    EXPECT_TRUE(font(mode).italic());
    EXPECT_FALSE(font(id).italic());
    EXPECT_EQ(spoken(mode, 1), "normal, default");
    EXPECT_EQ(spoken(id, 1), "7000");

    QSignalSpy edited(&model, &SettingsModel::edited);
    EXPECT_FALSE(setValue(model, id, "many"));
    EXPECT_EQ(edited.count(), 0);
    EXPECT_TRUE(setValue(model, id, "8000"));
    model.remove(unit);
    EXPECT_EQ(edited.count(), 2);
    EXPECT_TRUE(font(id).bold());
    EXPECT_EQ(spoken(id, 0), "MaxPatientID, changed");
    EXPECT_EQ(textOf(model, id, 0, Qt::DisplayRole), text("MaxPatientID *"));
    EXPECT_TRUE(font(unit).strikeOut());
    EXPECT_EQ(spoken(unit, 0), "Unit, will be deleted");
    EXPECT_EQ(textOf(model, unit, 1, Qt::DisplayRole), text("mm"));

    model.remove(id); // A known one goes back to its default.
    EXPECT_FALSE(font(id).strikeOut());
    EXPECT_EQ(spoken(id, 1), "1000000, default");
    model.revert(id);
    EXPECT_FALSE(font(id).bold());
}

TEST_F(SettingsModelTest, TheStateOfAStoredValueIsWhatItsReaderMakesOfIt) {
    const struct {
        const char* name;
        QVariant stored;
        const char* status;
    } cases[] = {
        {"MaxPatientID", text("many"), "The stored value does not fit, so the default is used."},
        {"MaxPatientID", text("1000000"), "Stored, equal to the default."},
        {"ExitWithoutRequest", text("TRUE"), "Stored, differs from the default."},
        {"ShowSplashScreenMessageLocationHorizontal", text("left"),
         "Stored, equal to the default."},
        {"ShowSplashScreenMessageLocationHorizontal", text("Left"),
         "The stored \"Left\" is an unknown choice. The messages are on the right."},
        {"ShowSplashScreenMessageLocationVertical", text("bottom "),
         "The stored \"bottom \" is an unknown choice. The messages are at the top."},
        {"WindowShowMode", text("Normal"), "Stored, equal to the default."},
        {"WindowShowMode", text(" maximized "),
         "The stored \" maximized \" is an unknown choice. "
         "The main window does not appear at start-up."},
        {"WindowShowMode", QSize(1, 2), "The stored value does not fit, so the default is used."},
        {"ShowSplashScreenMessageColor", text("#12"),
         "The stored value does not fit. The messages are black."},
        {"QtQuadView/ButtonColor", text("0 0 300"), "The stored value does not fit."},
        {"QtQuadView/ButtonColor", text("red"),
         "The stored value does not fit, so the default is used."},
        {"QtQuadView/InitialSize", text("8 \u00d7 8"), "Stored, differs from the default."},
        {"ScreenshotLocation", QSize(1, 2),
         "The stored value does not fit, so the default is used."},
    };
    for (const auto& c : cases) {
        source.stored = {{known(c.name), c.stored}};
        const SettingsModel model(source);
        EXPECT_EQ(model.edits().status(known(c.name)).toStdString(), c.status) << c.name;
        EXPECT_EQ(textOf(model, known(c.name), 1, Qt::DisplayRole).trimmed().toLower(),
                  rawSettingText(c.stored).trimmed().toLower().replace(text("\u00d7"), text("x")));
    }
}

TEST_F(SettingsModelTest, AWordInOtherLettersCanBePutRight) {
    const QString side = known("ShowSplashScreenMessageLocationHorizontal");
    source.stored = {{side, text("Left")}};
    SettingsEdits edits(source);
    edits.set(side, text("left"));
    EXPECT_EQ(toText(edits.changes()), side + text(": Left -> left"));
}

TEST_F(SettingsModelTest, ApplicationsAddSettingsOfTheirOwn) {
    const QString kind = text("Site/Kind");
    source.stored.insert(kind, text("Round"));
    addKnownSetting({kind, SettingsType(), text("old"), text("Replaced.")});
    addKnownSetting({kind, choiceType({text("square"), text("round")}), text("square"),
                     text("The kind of site."), text("It has corners.")});
    addKnownSetting({known("MaxPatientID"), integerType(0, 9), text("9"), text("Few of them.")});
    SettingsEdits edits(source);
    ASSERT_TRUE(edits.known(kind));
    EXPECT_EQ(edits.known(kind)->meaning, text("The kind of site."));
    EXPECT_EQ(edits.status(kind),
              text("The stored \"Round\" is an unknown choice. It has corners."));
    EXPECT_FALSE(edits.set(kind, text("flat")).isEmpty());
    edits.remove(kind);
    EXPECT_EQ(edits.text(kind), text("square"));
    EXPECT_EQ(edits.known(known("MaxPatientID"))->defaultText, text("9"));
    const std::vector<KnownSetting> all = knownSettings();
    for (const QString& key : {kind, known("MaxPatientID")})
        EXPECT_EQ(std::count_if(all.begin(), all.end(),
                                [&](const KnownSetting& each) { return each.key == key; }),
                  1);
}
