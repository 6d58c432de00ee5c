#include "Settings/vlrSettings.h"
#include "Support/TestEnvironment.h"
#include "UnreadableFile.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>

#include <cmath>
#include <gmock/gmock.h>

using namespace vlrTest;
using vlr::LogLevel;
using vlr::Settings;

namespace {

const QString key = QStringLiteral("Velora/Group/Key");

void writeSettings(const QByteArray& ini) {
    writeFile(Settings::filePath(), ini);
    Settings::reload();
}

// The hand-written value as the only one of the file.
void writeValue(const QByteArray& value) {
    writeSettings("[Velora]\nGroup\\Key=" + value + '\n');
}

QStringList keptAside() {
    const QFileInfo file(Settings::filePath());
    return file.dir().entryList({file.fileName() + QStringLiteral(".damaged-*")});
}

} // namespace

TEST(Settings, AbsentValuesAreTheirDefaults) {
    EXPECT_TRUE(Settings::get(key, true));
    EXPECT_EQ(Settings::get(key, 7, 1, 9), 7);
    EXPECT_EQ(Settings::get(key, "text"), QStringLiteral("text"));
    EXPECT_EQ(Settings::get(key, QSize(1, 2)), QSize(1, 2));
    EXPECT_EQ(Settings::remove(key), CaError::nullError);
    EXPECT_FALSE(QFile::exists(Settings::filePath()));
}

TEST(Settings, ValuesSurviveReloading) {
    const double number = 0.1 + 0.2;
    const Vector3d vector(1.0 / 3, -2e-300, 5);
    ASSERT_EQ(Settings::set(QStringLiteral("bool"), true), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("a/int"), -8), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("a/double"), number), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("General/size"), QSize(0, 5)), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("a/b c/vector"), vector), CaError::nullError);
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(Settings::get(QStringLiteral("bool"), false));
        EXPECT_EQ(Settings::get(QStringLiteral("a/int"), 0), -8);
        EXPECT_EQ(Settings::get(QStringLiteral("a/double"), 0.0), number);
        EXPECT_EQ(Settings::get(QStringLiteral("General/size"), QSize()), QSize(0, 5));
        EXPECT_EQ(Settings::get(QStringLiteral("a/b c/vector"), Vector3d(0, 0, 0)), vector);
        EXPECT_EQ(Settings::keys().join(QLatin1Char(' ')),
                  QStringLiteral("General/size a/b c/vector a/double a/int bool"));
        Settings::reload();
    }
}

TEST(Settings, TextsSurviveReloading) {
    for (const char* text :
         {"", " blank ", "a, b", "a;b#c", "\"quoted\" \\x41", "two\nlines\t", "[a]\nb=c", "@foo",
          "@Size(1 2)", "@Variant(abc)", "@@", "Größe 中 😀", "%41%",
          "\x01"
          "2af"}) {
        ASSERT_EQ(Settings::set(key, text), CaError::nullError) << text;
        Settings::reload();
        EXPECT_EQ(Settings::get(key, "default"), QString::fromUtf8(text));
    }
}

TEST(Settings, UnderstandsValuesWrittenByHand) {
    for (const char* text : {"true", "TRUE", "1", "yes", "On", "\"true\""}) {
        writeValue(text);
        EXPECT_TRUE(Settings::get(key, false)) << text;
    }
    for (const char* text : {"false", "0", "no", "off"}) {
        writeValue(text);
        EXPECT_FALSE(Settings::get(key, true)) << text;
    }
    for (const char* text : {"@Size(40 50)", "40 50", "40x50", "40 x 50", "\" 40  50 \""}) {
        writeValue(text);
        EXPECT_EQ(Settings::get(key, QSize()), QSize(40, 50)) << text;
    }
    for (const char* text : {"1, 0.5, 0", "1 0.5 0", "\"(1, 0.5, 0)\"", "(1,0.5,0)"}) {
        writeValue(text);
        EXPECT_EQ(Settings::get(key, Vector3d(9, 9, 9)), Vector3d(1, 0.5, 0)) << text;
    }
    writeValue("Größe, a, b");
    EXPECT_EQ(Settings::get(key, ""), QStringLiteral("Größe, a, b"));
}

TEST(Settings, WhatCannotBeUnderstoodGivesTheDefaultAndOneWarning) {
    const auto expectDefault = [](const char* text, auto get) {
        writeValue(text);
        const int before = logCount(LogLevel::Warning, key.toStdString());
        EXPECT_TRUE(get() && get()) << text;
        EXPECT_EQ(logCount(LogLevel::Warning, key.toStdString()), before + 1) << text;
    };
    expectLog(LogLevel::Warning, key.toStdString());
    for (const char* text : {"", "2", "ja", "1, 1"})
        expectDefault(text, [] { return Settings::get(key, true); });
    for (const char* text : {"", "x", "4.5", "0x4", "0", "10", "99999999999", "4, 5", "nan"})
        expectDefault(text, [] { return Settings::get(key, 7, 1, 9) == 7; });
    for (const char* text : {"", "x", "nan", "inf", "-inf", "1e999", "0.5", "9.5", "1,5"})
        expectDefault(text, [] { return Settings::get(key, 7.0, 1.0, 9.0) == 7.0; });
    for (const char* text : {"", "40", "-1 5", "@Size(-1 5)", "1 2 3", "99999999999 1"})
        expectDefault(text, [] { return Settings::get(key, QSize(3, 4)) == QSize(3, 4); });
    for (const char* text : {"", "1 2", "1 2 nan", "1, 2, 3, 4"})
        expectDefault(text,
                      [] { return Settings::get(key, Vector3d(1, 2, 3)) == Vector3d(1, 2, 3); });
}

TEST(Settings, ANewBadValueIsToldAgain) {
    expectLog(LogLevel::Warning, "is \"bad\"");
    expectLog(LogLevel::Warning, "is \"worse\"");
    for (const char* text : {"bad", "worse"}) {
        ASSERT_EQ(Settings::set(key, text), CaError::nullError);
        EXPECT_EQ(Settings::get(key, 7), 7);
        EXPECT_EQ(Settings::get(key, 7), 7);
    }
    EXPECT_EQ(logCount(LogLevel::Warning, key.toStdString()), 2);
}

TEST(Settings, RefusesWhatItCouldNotGiveBack) {
    const Vector3d vector(0, 0, std::nan(""));
    for (const CaError& error :
         {Settings::set(key, std::nan("")), Settings::set(key, HUGE_VAL),
          Settings::set(key, QSize(-1, 2)), Settings::set(key, vector), Settings::set(QString(), 1),
          Settings::set(QStringLiteral("//a"), 1), Settings::set(QStringLiteral("a/"), 1),
          Settings::set(QStringLiteral("a//b"), 1), Settings::set(key, "k=@Variant(abc)"),
          Settings::set(key, QString(5 << 20, u'x'))})
        EXPECT_NE(error, CaError::nullError);
    EXPECT_TRUE(Settings::keys().isEmpty());
    EXPECT_FALSE(QFile::exists(Settings::filePath()));
}

TEST(Settings, KeepsWhatOthersStoredMeanwhile) {
    ASSERT_EQ(Settings::set(QStringLiteral("a"), 1), CaError::nullError);
    const QDateTime time = QDateTime::currentDateTimeUtc();
    for (const char* other : {"[b]\nc=2\n", "[b]\nc=3\n"}) { // of equal size, at equal time
        QFile file(Settings::filePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("[General]\na=1\n") + other);
        ASSERT_TRUE(file.flush());
        ASSERT_TRUE(file.setFileTime(time, QFileDevice::FileModificationTime));
        file.close();
        ASSERT_EQ(Settings::set(QStringLiteral("b"), 4), CaError::nullError);
        EXPECT_EQ(Settings::get(QStringLiteral("b/c"), 0), other[6] - '0');
    }
    ASSERT_EQ(Settings::remove(QStringLiteral("b")), CaError::nullError);
    Settings::reload();
    EXPECT_EQ(Settings::keys(), QStringList({QStringLiteral("a"), QStringLiteral("b/c")}));
}

TEST(Settings, DamagedFilesAreKeptAside) {
    expectLog(LogLevel::Warning, "The file is kept as");
    const QByteArray object = "\\0\\0\\0\\x46\\0\\0\\0\\0\\0)";
    const QByteArray cases[] = {
        "no settings at all",
        QByteArray(100, '\0'),
        QByteArray((4 << 20) + 1, 'x'),
        "a=@Variant(" + object,
        "a=1, @Variant(" + object,
        "a= \"@Variant(" + object + '"',
        "a=\\x40Var\"\"iant(" + object,
        "a=@DateTime(" + object,
        "a=@Var\\\r\niant(" + object,
        "a=\\x10040Variant(" + object,
        "a=\xEF\xBB\xBF@Variant(" + object,
    };
    int count = 0;
    for (const QByteArray& bytes : cases) {
        writeSettings(bytes);
        EXPECT_EQ(Settings::get(QStringLiteral("a"), 7), 7);
        EXPECT_FALSE(QFile::exists(Settings::filePath()));
        ASSERT_EQ(keptAside().size(), ++count) << bytes.left(40).constData();
    }
    EXPECT_EQ(logCount(LogLevel::Warning, Settings::filePath().toStdString()), count);
    EXPECT_EQ(Settings::set(key, 1), CaError::nullError);
}

TEST(Settings, DamageFoundWhileWritingIsKeptAsideToo) {
    expectLog(LogLevel::Warning, "The file is kept as");
    ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
    ASSERT_TRUE(QFile::remove(Settings::filePath()));
    QDir().mkdir(Settings::filePath());
    ASSERT_EQ(Settings::set(key, 2), CaError::nullError);
    EXPECT_EQ(keptAside().size(), 1);
    Settings::reload();
    EXPECT_EQ(Settings::get(key, 0), 2);
}

// The beginning of a settings file is a settings file, too.
TEST(Settings, AFileThatWasCutOffIsDamaged) {
    ASSERT_EQ(Settings::set(QStringLiteral("a"), 1), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("b"), 2), CaError::nullError);
    const QByteArray whole = readFile(Settings::filePath());
    writeSettings(whole.left(whole.lastIndexOf("b=")));
    expectLog(LogLevel::Warning, "it is cut off");
    EXPECT_EQ(Settings::get(QStringLiteral("a"), 7), 7);
    EXPECT_EQ(keptAside().size(), 1);
    writeSettings(whole + "c=3\n"); // by hand, behind the last line
    EXPECT_EQ(Settings::get(QStringLiteral("a"), 7) + Settings::get(QStringLiteral("c"), 7), 4);
}

// What looks as if it held a setting, and does not, must not be taken for a passing failure for
// ever.
TEST(Settings, AFileWithoutAnySettingIsKeptAsideAndReplaced) {
    int files = 0;
    for (const char* content : {"\xEF\xBB\xBF; a=b was a setting\n", "foo ; a=b\n"}) {
        writeSettings(content);
        expectLog(LogLevel::Warning, "it is not a settings file");
        EXPECT_EQ(Settings::get(QStringLiteral("a"), 7), 7) << content;
        EXPECT_EQ(Settings::set(QStringLiteral("a"), 1), CaError::nullError) << content;
        EXPECT_EQ(keptAside().size(), ++files) << content;
    }
}

TEST(Settings, DamageFoundWhileWritingCostsNoOtherValue) {
    const QString other = QStringLiteral("other");
    for (const int value : {2, 1}) { // of which one is no change of what is known
        ASSERT_EQ(Settings::set(other, 5), CaError::nullError);
        ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
        writeFile(Settings::filePath(), "damaged");
        expectLog(LogLevel::Warning, "The file is kept as");
        ASSERT_EQ(Settings::set(key, value), CaError::nullError);
        Settings::reload();
        EXPECT_EQ(Settings::get(key, 0), value);
        EXPECT_EQ(Settings::get(other, 0), 5);
    }
}

TEST(Settings, AFileThatCannotBeReadAtPresentStays) {
    ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
    expectLog(LogLevel::Warning, "Could not read");
    {
        const UnreadableFile unreadable(Settings::filePath());
        Settings::reload();
        EXPECT_EQ(Settings::get(key, 7), 7);
        EXPECT_NE(Settings::set(key, 2), CaError::nullError);
    }
    EXPECT_TRUE(keptAside().isEmpty());
    ASSERT_EQ(Settings::set(QStringLiteral("other"), 5), CaError::nullError);
    EXPECT_EQ(Settings::get(key, 7), 1);
}

TEST(Settings, AFailedWriteChangesNothing) {
    ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
    const QString path = Settings::filePath();
    const QByteArray before = readFile(path);
    for (const unsigned long room : {0UL, 60UL, 2000UL}) {
        const FullDisk disk(room);
        EXPECT_NE(Settings::set(key, QString(3000, u'x')), CaError::nullError) << room;
    }
    {
        const ReadOnlyFolder closed(QFileInfo(path).path());
        EXPECT_NE(Settings::set(key, 2), CaError::nullError);
        EXPECT_NE(Settings::remove(key), CaError::nullError);
    }
    {
        QLockFile other(path + QStringLiteral(".lock"));
        ASSERT_TRUE(other.lock());
        EXPECT_NE(Settings::set(key, 2), CaError::nullError);
    }
    EXPECT_EQ(Settings::get(key, 0), 1);
    EXPECT_EQ(readFile(path), before);
}

// An empty lock file names no process; one with this process's number was not removed by it.
TEST(Settings, LockFilesThatNobodyHoldsDoNotBlock) {
    const QByteArray own = [] {
        QLockFile lock(testFolder() + QStringLiteral("/lock"));
        EXPECT_TRUE(lock.lock());
        return readFile(testFolder() + QStringLiteral("/lock"));
    }();
    int value = 0;
    for (const QByteArray& content : {own, QByteArray()}) {
        writeFile(Settings::filePath() + QStringLiteral(".lock"), content);
        EXPECT_EQ(Settings::set(QStringLiteral("Velora/Key"), ++value), CaError::nullError);
    }
}

TEST(Settings, ChangesAreAppliedTogetherOrNotAtAll) {
    const QString group = QStringLiteral("Velora/Group"); // a key and a group
    const auto text = [](const char* value) { return QVariant(QString::fromUtf8(value)); };
    writeSettings("[Velora]\nGroup\\Key=1\nGroup\\Old=x\n");
    const std::vector<vlr::SettingsChange> changes{{key, text("1"), text("2")},
                                                   {group, {}, QSize(3, 4)},
                                                   {group + QStringLiteral("/Old"), text("x"), {}}};
    const QString expected = QStringLiteral("Velora/Group Velora/Group/Key");
    QStringList conflicts;
    {
        const FullDisk disk;
        EXPECT_NE(Settings::apply(changes, conflicts), CaError::nullError);
    }
    auto withBadKey = changes;
    withBadKey.push_back({QStringLiteral("a//b"), {}, text("1")});
    EXPECT_EQ(Settings::apply(withBadKey, conflicts).id(), "Settings::badKey");
    EXPECT_EQ(readFile(Settings::filePath()), "[Velora]\nGroup\\Key=1\nGroup\\Old=x\n");
    EXPECT_EQ(Settings::value(key), text("1"));

    ASSERT_EQ(Settings::apply(changes, conflicts), CaError::nullError);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Settings::keys().join(QLatin1Char(' ')), expected);
        EXPECT_EQ(Settings::value(key), text("2"));
        EXPECT_EQ(Settings::value(group), QSize(3, 4));
        EXPECT_FALSE(Settings::value(QStringLiteral("Velora/Absent")).isValid());
        Settings::reload();
    }
}

TEST(Settings, ChangesThatOthersForestalledAreConflicts) {
    const auto text = [](const char* value) { return QVariant(QString::fromUtf8(value)); };
    writeSettings("a=1\nb=1\nc=1\nd=1\n");
    ASSERT_EQ(Settings::value(QStringLiteral("a")), text("1"));
    const QByteArray theirs = "[General]\na=1\nb=2\nd=5\ne=1\n";
    writeFile(Settings::filePath(), theirs);
    const std::vector<vlr::SettingsChange> changes{
        {QStringLiteral("a"), text("1"), text("9")}, // as it was
        {QStringLiteral("b"), text("1"), text("9")}, // changed
        {QStringLiteral("c"), text("1"), text("9")}, // removed
        {QStringLiteral("d"), text("1"), text("5")}, // changed in the same way
        {QStringLiteral("e"), {}, text("9")},        // added
    };
    QStringList conflicts{QStringLiteral("stale")};
    ASSERT_EQ(Settings::apply(changes, conflicts), CaError::nullError);
    EXPECT_EQ(conflicts.join(QLatin1Char(' ')), QStringLiteral("b c e"));
    EXPECT_EQ(readFile(Settings::filePath()), theirs);
    EXPECT_EQ(Settings::value(QStringLiteral("b")), text("2"));

    auto agreed = changes;
    for (vlr::SettingsChange& change : agreed)
        change.expected = Settings::value(change.key);
    ASSERT_EQ(Settings::apply(agreed, conflicts), CaError::nullError);
    EXPECT_TRUE(conflicts.isEmpty());
    EXPECT_EQ(Settings::get(QStringLiteral("c"), 0), 9);
}

TEST(Settings, ApplyingNothingReadsTheFileAndLeavesItAlone) {
    writeSettings("a=1\n");
    ASSERT_EQ(Settings::get(QStringLiteral("a"), 0), 1);
    writeFile(Settings::filePath(), "a=22\n");
    QStringList conflicts;
    ASSERT_EQ(Settings::apply({}, conflicts), CaError::nullError);
    EXPECT_EQ(Settings::get(QStringLiteral("a"), 0), 22);
    EXPECT_EQ(readFile(Settings::filePath()), "a=22\n"); // not as it would be written here
}

TEST(Settings, LookingBringsAllTypesUpToDate) {
    writeSettings("[General]\na=0\n");
    ASSERT_EQ(Settings::get(QStringLiteral("a"), 7), 0);
    writeFile(Settings::filePath(), "[General]\na=1\n");
    QHash<QString, QVariant> values;
    ASSERT_EQ(Settings::look(values), CaError::nullError);
    EXPECT_EQ(values.value(QStringLiteral("a")), QVariant(QStringLiteral("1")));
    EXPECT_EQ(Settings::get(QStringLiteral("a"), 7), 1);
    EXPECT_EQ(Settings::get(QStringLiteral("a"), 7.0), 1.0);
    EXPECT_TRUE(Settings::get(QStringLiteral("a"), false));
    EXPECT_EQ(Settings::get(QStringLiteral("a"), ""), QStringLiteral("1"));
}

TEST(Settings, AListenerToDamageMayStore) {
    expectLog(LogLevel::Warning, "The file is kept as");
    writeSettings("damaged");
    const int handle = vlr::Log::addListener(
        [](const vlr::LogRecord&) { EXPECT_EQ(Settings::set(key, 5), CaError::nullError); });
    Settings::get(key, 7);
    vlr::Log::removeListener(handle);
    EXPECT_EQ(Settings::get(key, 7), 5);
}

TEST(Settings, ASlashBeforeTheKeyMakesNoDifference) {
    EXPECT_EQ(vlr::Settings::set(QStringLiteral("/view/path"), "/data"), CaError::nullError);
    EXPECT_EQ(vlr::Settings::keys(), QStringList{QStringLiteral("view/path")});
    for (const char* key : {"/view/path", "view/path"}) {
        EXPECT_EQ(vlr::Settings::get(QLatin1String(key), ""), QStringLiteral("/data"));
        EXPECT_TRUE(vlr::Settings::contains(QLatin1String(key)));
    }
    EXPECT_FALSE(vlr::Settings::set(QStringLiteral("//path"), 1).isNull());
    EXPECT_EQ(vlr::Settings::remove(QStringLiteral("/view/path")), CaError::nullError);
    EXPECT_TRUE(vlr::Settings::keys().isEmpty());
}
