#include "CoreTest.h"
#include "Settings/SettingKey.h"

#include <QtCore/QDateTime>
#include <QtCore/QLockFile>

#include <cmath>

using namespace vlrTest;
using vlr::Settings;

namespace {

const QString key = QStringLiteral("Velora/Group/Key");
const QString a = QStringLiteral("a");

void writeSettings(const QByteArray& ini) {
    writeFile(Settings::filePath(), ini);
    Settings::reload();
}

// The hand-written value as the only one of the file.
void writeValue(const QByteArray& value) {
    writeSettings("[Velora]\nGroup\\Key=" + value + '\n');
}

QVariant text(const char* value) {
    return QString::fromUtf8(value);
}

QStringList keptAside() {
    const QFileInfo file(Settings::filePath());
    return file.dir().entryList({file.fileName() + QStringLiteral(".damaged-*")});
}

} // namespace

TEST(Settings, ValuesSurviveReloading) {
    const auto expectSurvives = [](const char* name, const auto& value, const auto& absent) {
        const QString path = QLatin1String(name);
        ASSERT_EQ(Settings::set(path, value), CaError::nullError) << name;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(Settings::get(path, absent), value) << name;
            Settings::reload();
        }
    };
    expectSurvives("bool", true, false);
    expectSurvives("a/int", -8, 0);
    expectSurvives("a/double", 0.1 + 0.2, 0.0);
    expectSurvives("General/size", QSize(0, 5), QSize());
    expectSurvives("a/b c/vector", Vector3d(1.0 / 3, -2e-300, 5), Vector3d(0, 0, 0));
    for (const char* text :
         {"", " blank ", "a, b", "a;b#c", "\"quoted\" \\x41", "two\nlines\t", "[a]\nb=c", "@foo",
          "@Size(1 2)", "@Variant(abc)", "@@", "Größe 中 😀", "%41%", "\0012af"})
        expectSurvives("text", QString::fromUtf8(text), QStringLiteral("absent"));
    EXPECT_EQ(Settings::keys().join(QLatin1Char(' ')),
              QStringLiteral("General/size a/b c/vector a/double a/int bool text"));
}

TEST(Settings, UnderstandsValuesWrittenByHand) {
    const auto expectRead = [](std::initializer_list<const char*> texts, auto absent, auto value) {
        for (const char* text : texts) {
            writeValue(text);
            EXPECT_EQ(Settings::get(key, absent), value) << text;
        }
    };
    expectRead({"true", "TRUE", "1", "yes", "On", "\"true\""}, false, true);
    expectRead({"false", "0", "no", "off"}, true, false);
    expectRead({"@Size(40 50)", "40 50", "40x50", "40 x 50", "\" 40  50 \""}, QSize(),
               QSize(40, 50));
    expectRead({"1, 0.5, 0", "1 0.5 0", "\"(1, 0.5, 0)\"", "(1,0.5,0)"}, Vector3d(9, 9, 9),
               Vector3d(1, 0.5, 0));
    expectRead({"Größe, a, b"}, "", QStringLiteral("Größe, a, b"));
}

TEST(Settings, WhatCannotBeUnderstoodGivesTheDefaultAndOneWarning) {
    const auto expectDefault = [](std::initializer_list<const char*> texts, auto value,
                                  auto... range) {
        for (const char* text : texts) {
            writeValue(text);
            const int before = logCount(LogLevel::Warning, key.toStdString());
            for (int round = 0; round < 2; ++round)
                EXPECT_EQ(Settings::get(key, value, range...), value) << text;
            EXPECT_EQ(logCount(LogLevel::Warning, key.toStdString()), before + 1) << text;
        }
    };
    expectLog(LogLevel::Warning, key.toStdString());
    expectDefault({"", "2", "ja", "1, 1"}, true);
    expectDefault({"", "x", "4.5", "0x4", "0", "10", "99999999999", "4, 5", "nan"}, 7, 1, 9);
    expectDefault({"", "x", "nan", "inf", "-inf", "1e999", "0.5", "9.5", "1,5"}, 7.0, 1.0, 9.0);
    expectDefault({"", "40", "-1 5", "@Size(-1 5)", "1 2 3", "99999999999 1"}, QSize(3, 4));
    expectDefault({"", "1 2", "1 2 nan", "1, 2, 3, 4"}, Vector3d(1, 2, 3));
    // Without reading the file anew, another bad value is told as well.
    const int before = logCount(LogLevel::Warning, key.toStdString());
    for (const char* text : {"bad", "worse", "worse"}) {
        ASSERT_EQ(Settings::set(key, text), CaError::nullError);
        EXPECT_EQ(Settings::get(key, 7), 7);
    }
    EXPECT_EQ(logCount(LogLevel::Warning, key.toStdString()), before + 2);
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
    EXPECT_EQ(Settings::remove(key), CaError::nullError); // An absent one is none to complain of.
    EXPECT_TRUE(Settings::keys().isEmpty());
    EXPECT_FALSE(QFile::exists(Settings::filePath()));
}

TEST(Settings, KeepsWhatOthersStoredMeanwhile) {
    ASSERT_EQ(Settings::set(a, 1), CaError::nullError);
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
    EXPECT_EQ(Settings::keys(), QStringList({a, QStringLiteral("b/c")}));
}

TEST(Settings, DamagedFilesAreKeptAside) {
    expectLog(LogLevel::Warning, "The file is kept as");
    const QByteArray object = "\\0\\0\\0\\x46\\0\\0\\0\\0\\0)";
    const QByteArray cases[] = {
        "no settings at all",
        QByteArray(100, '\0'),
        QByteArray((4 << 20) + 1, 'x'),
        "a=@Variant(" + object,
        "a=\\x40Var\"\"iant(" + object,
        "a=@DateTime(" + object,
        // What looks as if it held a setting, and does not, is no passing failure either.
        "\xEF\xBB\xBF; a=b was a setting\n",
        "foo ; a=b\n",
    };
    int count = 0;
    for (const QByteArray& bytes : cases) {
        writeSettings(bytes);
        EXPECT_EQ(Settings::get(a, 7), 7);
        EXPECT_FALSE(QFile::exists(Settings::filePath()));
        ASSERT_EQ(keptAside().size(), ++count) << bytes.left(40).constData();
    }
    EXPECT_EQ(logCount(LogLevel::Warning, Settings::filePath().toStdString()), count);
    EXPECT_EQ(Settings::set(key, 1), CaError::nullError);
}

// The beginning of a settings file is a settings file, too.
TEST(Settings, AFileThatWasCutOffIsDamaged) {
    ASSERT_EQ(Settings::set(a, 1), CaError::nullError);
    ASSERT_EQ(Settings::set(QStringLiteral("b"), 2), CaError::nullError);
    const QByteArray whole = readFile(Settings::filePath());
    writeSettings(whole.left(whole.lastIndexOf("b=")));
    expectLog(LogLevel::Warning, "it is cut off");
    QHash<QString, QVariant> seen; // A look alone keeps nothing aside, and hides no damage.
    EXPECT_FALSE(Settings::look(seen).isNull());
    EXPECT_EQ(Settings::get(a, 7), 7);
    EXPECT_EQ(keptAside().size(), 1);
    writeSettings(whole + "c=3\n"); // by hand, behind the last line
    EXPECT_EQ(Settings::get(a, 7) + Settings::get(QStringLiteral("c"), 7), 4);
}

TEST(Settings, DamageFoundWhileWritingIsKeptAsideAndCostsNoOtherValue) {
    const QString other = QStringLiteral("other");
    int files = 0;
    expectLog(LogLevel::Warning, "The file is kept as");
    for (const bool isFolder : {false, true})
        for (const int value : {2, 1}) { // of which one is no change of what is known
            ASSERT_EQ(Settings::set(other, 5), CaError::nullError);
            ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
            ASSERT_TRUE(QFile::remove(Settings::filePath()));
            if (isFolder)
                QDir().mkdir(Settings::filePath());
            else
                writeFile(Settings::filePath(), "damaged");
            ASSERT_EQ(Settings::set(key, value), CaError::nullError);
            EXPECT_EQ(keptAside().size(), ++files);
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
    const QByteArray before = readFile(Settings::filePath());
    {
        const FullDisk disk(60);
        EXPECT_NE(Settings::set(key, QString(3000, u'x')), CaError::nullError);
        EXPECT_NE(Settings::remove(key), CaError::nullError);
    }
    {
        QLockFile other(Settings::filePath() + QStringLiteral(".lock"));
        ASSERT_TRUE(other.lock());
        EXPECT_NE(Settings::set(key, 2), CaError::nullError);
    }
    EXPECT_EQ(Settings::get(key, 0), 1);
    EXPECT_EQ(readFile(Settings::filePath()), before);
}

// An empty lock file names no process; one with this process's number was not removed by it.
TEST(Settings, LockFilesThatNobodyHoldsDoNotBlock) {
    QLockFile lock(inFolder("lock"));
    ASSERT_TRUE(lock.lock());
    int value = 0;
    for (const QByteArray& content : {readFile(inFolder("lock")), QByteArray()}) {
        writeFile(Settings::filePath() + QStringLiteral(".lock"), content);
        EXPECT_EQ(Settings::set(key, ++value), CaError::nullError);
    }
}

TEST(Settings, ChangesAreAppliedTogetherOrNotAtAll) {
    const QString group = QStringLiteral("Velora/Group"); // a key and a group
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
    const vlr::SettingsChange bad{QStringLiteral("a//b"), {}, text("1")};
    EXPECT_EQ(Settings::apply({changes[0], bad}, conflicts).id(), "Settings::badKey");
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
    writeSettings("a=1\nb=1\nc=1\nd=1\n");
    ASSERT_EQ(Settings::value(a), text("1"));
    const QByteArray theirs = "[General]\na=1\nb=2\nd=5\ne=1\n";
    writeFile(Settings::filePath(), theirs);
    const std::vector<vlr::SettingsChange> changes{
        {a, text("1"), text("9")},                   // as it was
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

TEST(Settings, ASlashBeforeTheKeyMakesNoDifference) {
    const QString slashed = QStringLiteral("/view/path");
    const QString plain = QStringLiteral("view/path");
    EXPECT_EQ(Settings::set(slashed, "/data"), CaError::nullError);
    EXPECT_EQ(Settings::keys(), QStringList{plain});
    for (const QString& either : {slashed, plain}) {
        EXPECT_EQ(Settings::get(either, ""), QStringLiteral("/data"));
        EXPECT_TRUE(Settings::contains(either));
    }
    EXPECT_EQ(Settings::remove(slashed), CaError::nullError);
    EXPECT_TRUE(Settings::keys().isEmpty());
}

TEST(SettingKey, IsReadWithinItsRangeAndKnownWhileItIsThere) {
    const auto declared = [] {
        QStringList rows;
        for (const vlr::SettingDeclaration* each : vlr::declaredSettings())
            if (each->key().startsWith(QStringLiteral("Test/")))
                rows << each->key() + QLatin1Char('=') + each->defaultText() + QLatin1Char(' ') +
                            QString::number(static_cast<int>(each->type().kind));
        return rows.join(QStringLiteral(", "));
    };
    {
        const vlr::SettingKey<int> width("Test/Width", 4, "", vlr::integerType(1, 64));
        const vlr::SettingKey<double> share("Test/Share", 0.5, "", vlr::vectorType(0, 1));
        const vlr::SettingKey<bool> flag("Test/Flag", true, "");
        const vlr::SettingKey<QSize> size("Test/Size", QSize(3, 4), "");
        const vlr::SettingKey<Vector3d> color("Test/Color", Vector3d(1, 0, 0), "");
        const vlr::SettingKey<QString> folder(
            "Test/Folder", [] { return QDir::homePath(); }, "", vlr::integerType());
        EXPECT_EQ(declared(), QStringLiteral("Test/Color=1 0 0 4, Test/Flag=true 0, Test/Folder=") +
                                  QDir::homePath() +
                                  QStringLiteral(" 6, Test/Share=0.5 2, Test/Size=3 x 4 3, "
                                                 "Test/Width=4 1"));
        for (const auto& [stored, read] : {std::pair(64, 64), std::pair(65, 4), std::pair(0, 4)}) {
            if (read != stored)
                expectLog(LogLevel::Warning,
                          std::to_string(stored) + "\" and not a whole number from 1 to 64");
            ASSERT_EQ(Settings::set(width.key(), stored), CaError::nullError);
            EXPECT_EQ(width.get(), read);
        }
        ASSERT_EQ(Settings::set(share.key(), 1.5), CaError::nullError);
        expectLog(LogLevel::Warning, "not a number from 0 to 1");
        EXPECT_EQ(share.get(), 0.5);
        EXPECT_EQ(folder.get(), QDir::homePath());
        EXPECT_TRUE(flag.get() && size.get() == QSize(3, 4) && color.get() == Vector3d(1, 0, 0));
    }
    EXPECT_EQ(declared(), QString());
}
