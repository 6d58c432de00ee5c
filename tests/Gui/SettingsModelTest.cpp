#include "AppBase/Settings/SettingsModel.h"
#include "Gui/GuiTest.h"

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
struct MemorySource : SettingsSource {
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

struct SettingsModelTest : vlrTest::GuiTest {
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

} // namespace

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

TEST_F(SettingsModelTest, OnlyWhatDiffersFromTheStoredIsAChange) {
    SettingsEdits edits(source);
    const QString mode = known("WindowShowMode");
    const QString number = text("Site/Number");
    const QString added = text("Site/New");
    const struct {
        std::function<void()> act;
        const char* changes;
    } steps[] = {
        {[&] { edits.set(mode, text("Normal")); }, ""}, // the default that is shown
        {[&] { edits.set(number, text("x")); }, ""},
        {[&] { edits.set(number, text("6")); }, "Site/Number: 5 -> 6"},
        {[&] { edits.set(number, text("05")); }, ""},
        {[&] { edits.remove(number); }, "Site/Number: 5 -> "},
        {[&] { edits.revert(number); }, ""},
        {[&] { edits.add(added, ofKind(Kind::Bool)); }, "Site/New:  -> false"},
        {[&] { edits.set(added, text("true")); }, "Site/New:  -> true"},
        {[&] { edits.remove(added); }, ""},
        // Both halves of a rename go together, whichever is taken back.
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.revert(added); }, ""},
        {[&] { edits.rename(number, added); }, "Site/New:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.rename(added, text("Site/Newer")); }, "Site/Newer:  -> 5; Site/Number: 5 -> "},
        {[&] { edits.revert(number); }, ""},
    };
    for (const auto& s : steps) {
        s.act();
        EXPECT_EQ(toText(edits.changes()), text(s.changes)) << "step " << &s - steps;
    }
}

TEST_F(SettingsModelTest, ATypeGoesWithItsSettingAndARenameEndsWhenItIsStored) {
    SettingsEdits edits(source);
    const QString number = text("Site/Number");
    const QString count = text("Site/Count");
    edits.remove(number);
    edits.add(number, ofKind(Kind::Bool));
    edits.revert(number);
    EXPECT_NE(edits.type(number).kind, Kind::Bool) << "as it is stored";
    edits.add(count, ofKind(Kind::Integer));
    edits.rename(count, text("Site/Steps"));
    EXPECT_EQ(edits.type(text("Site/Steps")).kind, Kind::Integer);

    edits.rename(number, count);
    std::vector<SettingsConflict> conflicts;
    ASSERT_EQ(edits.apply(conflicts), CaError::nullError);
    edits.add(number, ofKind(Kind::Bool));
    edits.revert(count); // no half of anything any more
    EXPECT_EQ(toText(edits.changes()), text("Site/Number:  -> false"));
}

TEST_F(SettingsModelTest, NamesThatDifferInCaseHaveRowsOfTheirOwn) {
    SettingsModel model(source);
    model.add(text("Site/number"), ofKind(Kind::Bool));
    for (const char* key : {"Site/number", "Site/Number"}) {
        const QModelIndex index = model.indexOf(text(key));
        EXPECT_EQ(model.index(index.row(), 0, index.parent()), index) << key;
    }
    model.remove(text("Site/Number"));
    const QModelIndex gone = model.indexOf(text("Site/Number"));
    EXPECT_TRUE(gone.data(Qt::FontRole).value<QFont>().strikeOut());
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
    source.stored.insert(text("Site/Number/Unit"), text("m\nm"));
    SettingsModel model(source);
    QSignalSpy changes(&model, &SettingsModel::dataChanged);
    // A view paints again what was announced, from the name to the value.
    const auto isAnnounced = [&](const QModelIndex& name) {
        bool isFound = false;
        for (const auto& change : changes)
            isFound |= change.value(0).toModelIndex() == name &&
                       change.value(1).toModelIndex() == name.siblingAtColumn(1);
        changes.clear();
        return isFound;
    };
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const QString number = text("Site/Number");
    EXPECT_EQ(model.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), text("Setting"));
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), text("Value"));
    EXPECT_EQ(model.rowCount(model.indexOf(number)), 1); // a setting and a group
    model.add(text("Alpha/One"), ofKind(Kind::Text));
    model.rename(text("Alpha/One"), text("zeta"));
    EXPECT_FALSE(model.indexOf(text("Alpha")).isValid());
    EXPECT_EQ(model.indexOf(text("zeta")).row(), 3);
    model.remove(text("zeta"));
    EXPECT_EQ(model.rowCount(), 3);

    const QModelIndex index = model.indexOf(number);
    EXPECT_TRUE(model.setData(index.siblingAtColumn(1), text("6")));
    EXPECT_TRUE(isAnnounced(index));
    model.revert(number);
    EXPECT_TRUE(isAnnounced(index));
    const QString renamed = text("Site/New");
    model.rename(number, renamed);
    changes.clear();
    model.revert(renamed);
    EXPECT_TRUE(isAnnounced(model.indexOf(number))) << "the other half";
    const auto shown = [&](const QString& key, int column, int role) {
        return model.indexOf(key).siblingAtColumn(column).data(role);
    };
    EXPECT_TRUE(shown(known("DisplayLogo"), 0, Qt::FontRole).value<QFont>().italic());
    EXPECT_FALSE(shown(number, 0, Qt::FontRole).value<QFont>().italic());
    EXPECT_EQ(shown(text("Site/Number/Unit"), 1, Qt::DisplayRole).toString(), text("m\u21b5m"));
    model.remove(number); // stays in sight until it is stored
    EXPECT_TRUE(isAnnounced(index));
    EXPECT_EQ(model.key(model.indexOf(number)), number);
    source.stored.insert(text("Other/Process"), text("1"));
    std::vector<SettingsConflict> conflicts;
    ASSERT_EQ(model.apply(conflicts), CaError::nullError);
    EXPECT_EQ(model.key(model.indexOf(number)), QString()); // still a group
    EXPECT_TRUE(model.indexOf(text("Other/Process")).isValid());
    EXPECT_TRUE(isAnnounced(index)) << "it is changed no more";
}

TEST_F(SettingsModelTest, ApplicationsAddSettingsOfTheirOwn) {
    const QString kind = text("Site/Kind");
    source.stored.insert(kind, text("Round"));
    addKnownSetting({kind, choiceType({text("square"), text("round")}), text("square"),
                     text("The kind of site."), text("It has corners.")});
    addKnownSetting({known("MaxPatientID"), integerType(0, 9), text("9"), text("Few of them.")});
    SettingsEdits edits(source);
    EXPECT_EQ(edits.status(kind),
              text("The stored \"Round\" is an unknown choice. It has corners."));
    EXPECT_FALSE(edits.set(kind, text("flat")).isEmpty());
    EXPECT_EQ(edits.known(known("MaxPatientID"))->defaultText, text("9"));
    QStringList keys;
    for (const KnownSetting& setting : knownSettings()) {
        EXPECT_TRUE(parseSetting(setting.type, setting.defaultText).value.isValid())
            << setting.key.toStdString();
        keys << setting.key;
    }
    EXPECT_EQ(keys.removeDuplicates(), 0) << "a later one takes the place of the one before";
}
