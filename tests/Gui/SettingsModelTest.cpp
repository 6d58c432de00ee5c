#include "AppBase/SettingsModel.h"
#include "Gui/GuiTest.h"
#include "Gui/Text.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QRect>
#include <QtGui/QFont>
#include <QtTest/QAbstractItemModelTester>

using namespace vlr;
using vlrTest::known;
using vlrTest::text;
using Kind = SettingsType::Kind;

namespace {

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
    const std::pair<Kind, std::vector<QVariant>> cases[] = {
        {Kind::Bool, {text("true"), text("false")}},
        {Kind::Integer, {text("0"), text("-12")}},
        {Kind::Number, {text("1.50"), text("-2e-3")}},
        {Kind::Text,
         {text("True"), text("007"), text("99999999999"), text("1e999"), text("nan"), text(""),
          text("1 0 0"), QStringList{text("a"), text("b")}, QByteArray("bytes")}},
        {Kind::Size, {QSize(1, 2)}},
        {Kind::Other, {QRect(1, 2, 3, 4)}},
    };
    for (const auto& [kind, values] : cases)
        for (const QVariant& stored : values)
            EXPECT_EQ(typeOf(stored).kind, kind) << rawSettingText(stored).toStdString();
}

TEST(SettingsValue, TextsAreTakenOrRefused) {
    SettingsType colour = ofKind(Kind::Vector);
    colour.minimum = 0;
    colour.maximum = 255;
    const SettingsType choice = choiceType({text("left"), text("right")});
    const SettingsType anyCase = choiceType({text("left"), text("right")}, true);
    const struct {
        SettingsType type;
        std::vector<std::pair<const char*, const char*>> taken; // and as what they are shown
        std::vector<const char*> refused;
    } cases[] = {
        {ofKind(Kind::Bool), {{" Yes ", "true"}, {"0", "false"}}, {"maybe"}},
        {integerType(1, 64), {{"64", "64"}}, {"65", "0"}},
        {integerType(), {}, {"4.5", "99999999999"}},
        {ofKind(Kind::Number), {{"1.50", "1.5"}}, {"nan", "inf", "1,5"}},
        {ofKind(Kind::Size),
         {{"640x480", "640 x 480"}, {"640 480", "640 x 480"}},
         {"640", "-1 x 5"}},
        {colour, {{"(1, 0.5, 255)", "1 0.5 255"}}, {"1 2", "0 0 256", "-1 0 0"}},
        {choice, {{"left", "left"}}, {"LEFT", " left"}},
        {anyCase, {{"LEFT", "left"}}, {"left ", "up"}},
        {ofKind(Kind::Text), {{" as typed ", " as typed "}}, {}},
        {ofKind(Kind::Other), {}, {"x"}},
    };
    for (const auto& [type, taken, refused] : cases) {
        for (const auto& [typed, shown] : taken) {
            const ParsedSetting parsed = parseSetting(type, text(typed));
            EXPECT_TRUE(parsed.refusal.isEmpty()) << typed;
            EXPECT_EQ(settingText(type, parsed.value), text(shown)) << typed;
        }
        for (const char* typed : refused) {
            const ParsedSetting parsed = parseSetting(type, text(typed));
            EXPECT_FALSE(parsed.refusal.isEmpty() || parsed.value.isValid()) << typed;
        }
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
        const auto read = [&](const SettingsType& type) {
            return !isReadAsDefault(type, text(stored));
        };
        const Vector3d vector(7, 7, 7);
        const bool isBool = Settings::get(key, true) == Settings::get(key, false);
        EXPECT_EQ(read(ofKind(Kind::Bool)), isBool) << stored;
        EXPECT_EQ(read(integerType()), Settings::get(key, -99) != -99) << stored;
        EXPECT_EQ(read(ofKind(Kind::Number)), Settings::get(key, -99.0) != -99.0) << stored;
        EXPECT_EQ(read(ofKind(Kind::Size)), Settings::get(key, QSize(9, 9)) != QSize(9, 9))
            << stored;
        EXPECT_EQ(read(ofKind(Kind::Vector)), Settings::get(key, vector) != vector) << stored;
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
    const std::tuple<const char*, std::vector<const char*>, std::vector<const char*>> cases[] = {
        {"ScreenshotShortcut", {"Ctrl+P", ""}, {"Ctrl+Nonsense"}},
        {"ShowSplashScreenMessageColor", {"white"}, {"#12"}},
        {"WindowShowMode", {"FullScreen"}, {"tiny"}},
        {"SplashScreen.Timer", {}, {"-1"}},
    };
    for (const auto& [name, taken, refused] : cases) {
        for (const char* typed : taken)
            EXPECT_EQ(edits.set(known(name), text(typed)), QString()) << typed;
        for (const char* typed : refused)
            EXPECT_NE(edits.set(known(name), text(typed)), QString()) << typed;
    }
}

TEST_F(SettingsModelTest, OnlyWhatDiffersFromTheStoredIsAChange) {
    source.stored.insert(text("Site/List"), QStringList{text("a"), text("b")});
    const QString side = known("ShowSplashScreenMessageLocationHorizontal");
    source.stored.insert(side, text("Left"));
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
        // A word in other letters can be put right.
        {[&] { edits.set(side, text("left")); },
         "Velora/Application/ShowSplashScreenMessageLocationHorizontal: Left -> left"},
        {[&] { edits.revert(side); }, ""},
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
    for (const auto& s : steps) {
        s.act();
        EXPECT_EQ(toText(edits.changes()), text(s.changes)) << "step " << &s - steps;
    }
}

TEST_F(SettingsModelTest, ImpossibleKeysAreRefused) {
    SettingsEdits edits(source);
    edits.remove(text("Site/Number/Unit"));
    for (const char* key : {"", "/a", "a/", "a//b", "/", "Site/Number"})
        EXPECT_NE(edits.keyProblem(text(key)), QString()) << key;
    EXPECT_NE(edits.keyProblem(known("WindowShowMode")), QString());
    for (const char* key : {"Site/New", "Site", "a b/c.d-e", "Site/number", "Site/Number/Unit"})
        EXPECT_EQ(edits.keyProblem(text(key)), QString()) << key; // the last one is deleted
}

TEST_F(SettingsModelTest, KeepingTheirsUndoesTheWholeRename) {
    const QString number = text("Site/Number");
    const QString added = text("Site/New");
    const std::pair<QString, QVariant> cases[] = {
        {number, text("8")}, {added, text("8")}, {number, {}}};
    for (const auto& [changed, theirs] : cases) {
        SettingsEdits edits(source);
        edits.rename(number, added);
        const auto before = source.stored;
        source.stored.insert(changed, theirs);
        if (!theirs.isValid())
            source.stored.remove(changed);
        std::vector<SettingsConflict> conflicts;
        ASSERT_EQ(edits.apply(conflicts), CaError::nullError);
        ASSERT_EQ(conflicts.size(), 1U);
        edits.resolve(conflicts);
        EXPECT_EQ(toText(edits.changes()), QString());
        EXPECT_EQ(edits.value(changed), theirs);
        source.stored = before;
    }
}

TEST_F(SettingsModelTest, TheTreeFollowsEveryCommand) {
    SettingsModel model(source);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QString number = text("Site/Number");
    ASSERT_EQ(model.rowCount(), 2);
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
    const QString id = known("MaxPatientID");
    const QString unit = text("Site/Number/Unit");
    // As it looks (bold, italic, struck out) and is read out.
    const auto row = [&](const QString& key) {
        const auto font = model.indexOf(key).data(Qt::FontRole).value<QFont>();
        const std::string looks = std::string(font.bold() ? "b" : "") + (font.italic() ? "i" : "") +
                                  (font.strikeOut() ? "s" : "");
        const auto spoken = [&](int column) {
            return textOf(model, key, column, Qt::AccessibleTextRole).toStdString();
        };
        return looks + " " + spoken(0) + ": " + spoken(1);
    };
    EXPECT_EQ(row(known("WindowShowMode")), "i WindowShowMode: normal, default");
    EXPECT_EQ(row(id), " MaxPatientID: 7000");

    QSignalSpy edited(&model, &SettingsModel::edited);
    EXPECT_FALSE(setValue(model, id, "many"));
    EXPECT_TRUE(setValue(model, id, "8000"));
    model.remove(unit);
    EXPECT_EQ(edited.count(), 2);
    EXPECT_EQ(row(id), "b MaxPatientID, changed: 8000");
    EXPECT_EQ(row(unit), "bs Unit, will be deleted: mm");
    EXPECT_EQ(textOf(model, id, 0, Qt::DisplayRole), text("MaxPatientID *"));
    model.remove(id); // A known one goes back to its default.
    EXPECT_EQ(row(id), "bi MaxPatientID, changed: 1000000, default");
    model.revert(id);
    EXPECT_EQ(row(id), " MaxPatientID: 7000");
}

TEST_F(SettingsModelTest, TheStateOfAStoredValueIsWhatItsReaderMakesOfIt) {
    const char* const unfit = "The stored value does not fit, so the default is used.";
    const char* const equal = "Stored, equal to the default.";
    const char* const different = "Stored, differs from the default.";
    const char* const horizontal = "ShowSplashScreenMessageLocationHorizontal";
    const std::tuple<const char*, QVariant, const char*> cases[] = {
        {"MaxPatientID", text("many"), unfit},
        {"MaxPatientID", text("1000000"), equal},
        {"ExitWithoutRequest", text("TRUE"), different},
        {horizontal, text("left"), equal},
        {horizontal, text("Left"),
         "The stored \"Left\" is an unknown choice. The messages are on the right."},
        {"ShowSplashScreenMessageLocationVertical", text("bottom "),
         "The stored \"bottom \" is an unknown choice. The messages are at the top."},
        {"WindowShowMode", text("Normal"), equal},
        {"WindowShowMode", text(" maximized "),
         "The stored \" maximized \" is an unknown choice. "
         "The main window does not appear at start-up."},
        {"WindowShowMode", QSize(1, 2), unfit},
        {"ShowSplashScreenMessageColor", text("#12"),
         "The stored value does not fit. The messages are black."},
        {"QtQuadView/ButtonColor", text("0 0 300"), "The stored value does not fit."},
        {"QtQuadView/ButtonColor", text("red"), unfit},
        {"QtQuadView/InitialSize", text("8 \u00d7 8"), different},
        {"ScreenshotLocation", QSize(1, 2), unfit},
    };
    for (const auto& [name, stored, status] : cases) {
        source.stored = {{known(name), stored}};
        const SettingsModel model(source);
        EXPECT_EQ(model.edits().status(known(name)).toStdString(), status) << name;
        EXPECT_EQ(textOf(model, known(name), 1, Qt::DisplayRole).trimmed().toLower(),
                  rawSettingText(stored).trimmed().toLower().replace(text("\u00d7"), text("x")));
    }
}

TEST_F(SettingsModelTest, ApplicationsAddSettingsOfTheirOwn) {
    const QString kind = text("Site/Kind");
    source.stored.insert(kind, text("Round"));
    addKnownSetting({kind, SettingsType(), text("old"), text("Replaced.")});
    addKnownSetting({kind, choiceType({text("square"), text("round")}), text("square"),
                     text("The kind of site."), text("It has corners.")});
    addKnownSetting({known("MaxPatientID"), integerType(0, 9), text("9"), text("Few of them.")});
    SettingsEdits edits(source);
    EXPECT_EQ(edits.status(kind),
              text("The stored \"Round\" is an unknown choice. It has corners."));
    EXPECT_FALSE(edits.set(kind, text("flat")).isEmpty());
    edits.remove(kind);
    EXPECT_EQ(edits.text(kind), text("square"));
    EXPECT_EQ(edits.known(known("MaxPatientID"))->defaultText, text("9"));
    QStringList keys;
    for (const KnownSetting& setting : knownSettings())
        keys << setting.key;
    EXPECT_EQ(keys.removeDuplicates(), 0) << "a later one takes the place of the one before";
}
