#include "IO/DataIOManager.h"
#include "Support/TestEnvironment.h"
#include "UnreadableFile.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>
#include <sys/stat.h>

using vlr::LogLevel;

namespace {

const QString name = QStringLiteral("AppBase");

DataPointer<Configuration> makeConfiguration(const char* childId) {
    DataPointer<Configuration> configuration(new Configuration(QStringLiteral("container")));
    (void)configuration->addChild(
        DataPointer<Data>(new Configuration(QString::fromLatin1(childId))), true);
    return configuration;
}

QStringList filesBeside(const QString& path) {
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace

TEST(ConfigurationFiles, ComeBackAsTheyWereStoredAndAreNotTouchedWithoutNeed) {
    const auto configuration = makeConfiguration("child");
    ASSERT_EQ(DataIOManager::storeConfiguration(name, configuration), CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray document = vlrTest::readFile(path);

    const DataPointer<Configuration> loaded(new Configuration);
    ASSERT_EQ(DataIOManager::loadConfiguration(name, loaded), CaError::nullError);
    EXPECT_EQ(loaded->id(), QStringLiteral("container"));
    EXPECT_TRUE(dataCast<Configuration>(loaded->hasChildAndGet(QStringLiteral("child"))));

    // A write would fail on the full disk.
    const vlrTest::FullDisk fullDisk;
    EXPECT_EQ(DataIOManager::storeConfiguration(name, loaded), CaError::nullError);
    EXPECT_EQ(vlrTest::readFile(path), document);
}

TEST(ConfigurationFiles, ALongNameHasAFileOfItsOwn) {
    const QString longName(300, QChar(u'Ü'));
    for (const char* end : {"1", "2"})
        ASSERT_EQ(DataIOManager::storeConfiguration(longName + QLatin1String(end),
                                                    makeConfiguration(end)),
                  CaError::nullError);
    const auto loaded = makeConfiguration("x");
    ASSERT_EQ(DataIOManager::loadConfiguration(longName + QLatin1Char('1'), loaded),
              CaError::nullError);
    EXPECT_TRUE(loaded->hasChildAndGet(QStringLiteral("1")));
}

TEST(ConfigurationFiles, WhatCouldNotBeLoadedIsNotStored) {
    const auto huge = makeConfiguration("x");
    huge->child(0)->setId(QString(5 << 20, u'x'));
    EXPECT_NE(DataIOManager::storeConfiguration(name, huge), CaError::nullError);
    EXPECT_FALSE(QFile::exists(DataIOManager::configurationPath(name)));
}

TEST(ConfigurationFiles, AFileThatWasNeverLoadedIsKeptBeforeItIsReplaced) {
    const QString path = DataIOManager::configurationPath(name);
    vlrTest::expectLog(LogLevel::Warning, "It is kept as");
    int files = 1;
    for (const char* document : {"", "<vlr version=\"2\">newer</vlr>"}) {
        vlrTest::writeFile(path, document);
        ASSERT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration(document)),
                  CaError::nullError);
        EXPECT_EQ(filesBeside(path).size(), ++files);
        EXPECT_EQ(DataIOManager::loadConfiguration(name, makeConfiguration("y")),
                  CaError::nullError);
    }
}

TEST(ConfigurationFiles, AFileThatSomebodyElseChangedIsKeptOnlyIfItIsDamaged) {
    const QString path = DataIOManager::configurationPath(name);
    const auto store = [](const char* childId) {
        EXPECT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration(childId)),
                  CaError::nullError);
    };
    store("one");
    const QByteArray good = vlrTest::readFile(path);
    vlrTest::writeFile(path, QByteArray(good).replace("\"one\"", "\"two\""));
    store("six");
    EXPECT_EQ(filesBeside(path).size(), 1);

    vlrTest::expectLog(LogLevel::Warning, "It is kept as");
    const QByteArray damaged = QByteArray(good).replace("</vlr>", "</vll>");
    for (const bool isLoaded : {false, true}) {
        store("one");
        if (isLoaded) {
            EXPECT_EQ(DataIOManager::loadConfiguration(name, makeConfiguration("x")),
                      CaError::nullError);
        }
        vlrTest::writeFile(path, damaged);
        store("six");
    }
    QStringList kept = filesBeside(path);
    kept.removeAll(QFileInfo(path).fileName());
    EXPECT_EQ(kept.size(), 2);
    for (const QString& file : kept)
        EXPECT_EQ(vlrTest::readFile(QFileInfo(path).dir().filePath(file)), damaged);
}

TEST(ConfigurationFiles, AFileThatCannotBeReadAtPresentStays) {
    ASSERT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration("old")),
              CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray before = vlrTest::readFile(path);
    vlrTest::expectLog(LogLevel::Warning, "cannot be read at present");
    {
        const UnreadableFile unreadable(path);
        EXPECT_NE(DataIOManager::loadConfiguration(name, makeConfiguration("x")),
                  CaError::nullError);
    }
    EXPECT_NE(DataIOManager::storeConfiguration(name, makeConfiguration("new")),
              CaError::nullError);
    EXPECT_EQ(vlrTest::readFile(path), before);
    EXPECT_EQ(filesBeside(path).size(), 1);
    EXPECT_EQ(DataIOManager::loadConfiguration(name, makeConfiguration("x")), CaError::nullError);
    EXPECT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration("new")),
              CaError::nullError);
}

TEST(ConfigurationFiles, ANameNeverLeavesTheFolder) {
    const QString folder = QFileInfo(DataIOManager::configurationPath(name)).path();
    for (const char* text : {"../../outside", "/etc/passwd", "a/b", ".", "..", "C:\\x", "Ü \n*"}) {
        const QString path = DataIOManager::configurationPath(QString::fromUtf8(text));
        EXPECT_EQ(QFileInfo(path).path(), folder) << text;
        EXPECT_EQ(
            DataIOManager::storeConfiguration(QString::fromUtf8(text), makeConfiguration("x")),
            CaError::nullError);
        EXPECT_TRUE(QFileInfo(path).isFile()) << text;
    }
    EXPECT_NE(DataIOManager::storeConfiguration(QString(), makeConfiguration("x")),
              CaError::nullError);
}

TEST(ConfigurationFiles, AMissingFileIsAnErrorWithoutALogLine) {
    const DataPointer<Configuration> loaded(new Configuration);
    EXPECT_NE(DataIOManager::loadConfiguration(name, loaded), CaError::nullError);
    EXPECT_TRUE(vlrTest::logRecords().empty());
}

TEST(ConfigurationFiles, ADamagedFileIsKeptAsideLoggedOnceAndLeavesTheDefaults) {
    ASSERT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration("child")),
              CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray whole = vlrTest::readFile(path);
    // What follows the last element may be cut off without loss.
    const int needed = whole.lastIndexOf('>');
    QList<QByteArray> documents{
        "", "no XML", "<vlr version=\"1\">" + QByteArray("<data class=\"A\">").repeated(100000),
        QByteArray(whole).replace("\"Configuration\"", "\"Patient\"")};
    for (int length = 1; length <= needed; ++length)
        documents << whole.left(length);

    vlrTest::expectLog(LogLevel::Warning, path.toStdString());
    int loads = 0;
    for (const QByteArray& document : documents) {
        vlrTest::writeFile(path, document);
        const auto loaded = makeConfiguration("untouched");
        EXPECT_NE(DataIOManager::loadConfiguration(name, loaded), CaError::nullError)
            << document.left(400).constData();
        EXPECT_TRUE(loaded->hasChildAndGet(QStringLiteral("untouched")));
        EXPECT_EQ(vlrTest::logCount(LogLevel::Warning, path.toStdString()), ++loads);
        EXPECT_FALSE(QFile::exists(path));
        bool kept = false;
        for (const QString& file : filesBeside(path))
            kept = kept ||
                   vlrTest::readFile(QFileInfo(path).path() + QLatin1Char('/') + file) == document;
        EXPECT_TRUE(kept);
    }
    EXPECT_EQ(filesBeside(path).size(), documents.size());
}

TEST(ConfigurationFiles, ADamagedFileThatCannotBeMovedIsNotOverwritten) {
    const QString path = DataIOManager::configurationPath(name);
    vlrTest::writeFile(path, "precious");
    vlrTest::expectLog(LogLevel::Warning, "will not be overwritten");
    {
        const vlrTest::ReadOnlyFolder readOnly(QFileInfo(path).path());
        EXPECT_NE(DataIOManager::loadConfiguration(name, makeConfiguration("x")),
                  CaError::nullError);
    }
    EXPECT_NE(DataIOManager::storeConfiguration(name, makeConfiguration("x")), CaError::nullError);
    EXPECT_EQ(vlrTest::readFile(path), QByteArray("precious"));
}

TEST(ConfigurationFiles, AFullOrReadOnlyDiskLeavesTheOldFileIntact) {
    ASSERT_EQ(DataIOManager::storeConfiguration(name, makeConfiguration("old")),
              CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray before = vlrTest::readFile(path);
    const auto storeNew = [&] {
        return DataIOManager::storeConfiguration(name, makeConfiguration("new"));
    };
    for (const unsigned long room : {0UL, 1UL, 100UL}) {
        const vlrTest::FullDisk fullDisk(room);
        const CaError error = storeNew();
        EXPECT_NE(error.text().find(path.toStdString()), std::string::npos) << error.text();
    }
    {
        // To be read also by the user that a test of root becomes.
        chmod(QFile::encodeName(path).constData(), 0644);
        const vlrTest::ReadOnlyFolder readOnly(QFileInfo(path).path());
        EXPECT_NE(storeNew(), CaError::nullError);
    }
    EXPECT_EQ(vlrTest::readFile(path), before);
    EXPECT_EQ(filesBeside(path).size(), 1);
}
