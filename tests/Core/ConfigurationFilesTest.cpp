#include "CoreTest.h"
#include "IO/DataIOManager.h"

using vlr::LogLevel;

namespace {

const QString name = QStringLiteral("AppBase");

DataPointer<Configuration> makeConfiguration(const char* childId) {
    DataPointer<Configuration> configuration(new Configuration(QStringLiteral("container")));
    (void)configuration->addChild(new Configuration(QString::fromLatin1(childId)), true);
    return configuration;
}

CaError store(const char* childId, const QString& as = name) {
    return DataIOManager::storeConfiguration(as, makeConfiguration(childId));
}

CaError load() {
    return DataIOManager::loadConfiguration(name, makeConfiguration("any"));
}

QStringList filesBeside(const QString& path) {
    return QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace

TEST(ConfigurationFiles, ComeBackAsTheyWereStoredAndAreNotTouchedWithoutNeed) {
    ASSERT_EQ(store("child"), CaError::nullError);
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

TEST(ConfigurationFiles, AFileThatWasNeverLoadedIsKeptBeforeItIsReplaced) {
    const QString path = DataIOManager::configurationPath(name);
    vlrTest::expectLog(LogLevel::Warning, "It is kept as");
    int files = 1;
    for (const char* document : {"", "<vlr version=\"2\">newer</vlr>"}) {
        vlrTest::writeFile(path, document);
        ASSERT_EQ(store(document), CaError::nullError);
        EXPECT_EQ(filesBeside(path).size(), ++files);
        EXPECT_EQ(load(), CaError::nullError);
    }
}

TEST(ConfigurationFiles, AFileThatSomebodyElseChangedIsKeptOnlyIfItIsDamaged) {
    const QString path = DataIOManager::configurationPath(name);
    ASSERT_EQ(store("one"), CaError::nullError);
    const QByteArray good = vlrTest::readFile(path);
    vlrTest::writeFile(path, QByteArray(good).replace("\"one\"", "\"two\""));
    ASSERT_EQ(store("six"), CaError::nullError);
    EXPECT_EQ(filesBeside(path).size(), 1);

    vlrTest::expectLog(LogLevel::Warning, "It is kept as");
    const QByteArray damaged = QByteArray(good).replace("</vlr>", "</vll>");
    for (const bool isLoaded : {false, true}) {
        ASSERT_EQ(store("one"), CaError::nullError);
        if (isLoaded) {
            EXPECT_EQ(load(), CaError::nullError);
        }
        vlrTest::writeFile(path, damaged);
        ASSERT_EQ(store("six"), CaError::nullError);
    }
    QStringList kept = filesBeside(path);
    kept.removeAll(QFileInfo(path).fileName());
    EXPECT_EQ(kept.size(), 2);
    for (const QString& file : kept)
        EXPECT_EQ(vlrTest::readFile(QFileInfo(path).dir().filePath(file)), damaged);
}

TEST(ConfigurationFiles, AFileThatCannotBeReadAtPresentStays) {
    ASSERT_EQ(store("old"), CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray before = vlrTest::readFile(path);
    vlrTest::expectLog(LogLevel::Warning, "cannot be read at present");
    {
        const UnreadableFile unreadable(path);
        EXPECT_NE(load(), CaError::nullError);
    }
    EXPECT_NE(store("new"), CaError::nullError);
    EXPECT_EQ(vlrTest::readFile(path), before);
    EXPECT_EQ(filesBeside(path).size(), 1);
    EXPECT_EQ(load(), CaError::nullError);
    EXPECT_EQ(store("new"), CaError::nullError);
}

TEST(ConfigurationFiles, NoNameLeavesTheFolderAndWhatCouldNotBeLoadedIsNotStored) {
    const QString folder = QFileInfo(DataIOManager::configurationPath(name)).path();
    for (const char* text : {"../../outside", "/etc/passwd", "a/b", ".", "..", "C:\\x", "Ü \n*"}) {
        const QString odd = QString::fromUtf8(text);
        const QString path = DataIOManager::configurationPath(odd);
        EXPECT_EQ(QFileInfo(path).path(), folder) << text;
        EXPECT_EQ(store("x", odd), CaError::nullError);
        EXPECT_TRUE(QFileInfo(path).isFile()) << text;
    }
    // Names too long for a file system stay apart, whether they differ at the end or elsewhere.
    QString longName(300, u'x');
    QSet<QString> paths;
    for (const int place : {0, 1, 158, 159, 299}) {
        longName[place] = u'y';
        const QString path = DataIOManager::configurationPath(longName);
        EXPECT_LT(QFileInfo(path).fileName().size(), 220);
        EXPECT_EQ(store(QByteArray::number(place), longName), CaError::nullError);
        paths << path;
    }
    EXPECT_EQ(paths.size(), 5);
    for (const QString& path : paths)
        EXPECT_TRUE(QFileInfo(path).isFile());
    EXPECT_NE(store("x", {}), CaError::nullError);
    // What could not be loaded is not stored either.
    const auto huge = makeConfiguration("x");
    huge->child(0)->setId(QString(5 << 20, u'x'));
    EXPECT_NE(DataIOManager::storeConfiguration(name, huge), CaError::nullError);
    // One that does not exist is no reason for a warning.
    EXPECT_NE(load(), CaError::nullError);
}

TEST(ConfigurationFiles, ADamagedFileIsKeptAsideLoggedOnceAndLeavesTheDefaults) {
    ASSERT_EQ(store("child"), CaError::nullError);
    const QString path = DataIOManager::configurationPath(name);
    const QByteArray whole = vlrTest::readFile(path);
    vlrTest::expectLog(LogLevel::Warning, path.toStdString());
    int loads = 0;
    for (const QByteArray& document :
         {QByteArray(), QByteArray("no XML"), whole.left(whole.lastIndexOf('>')),
          QByteArray(whole).replace("\"Configuration\"", "\"Patient\"")}) {
        vlrTest::writeFile(path, document);
        const auto loaded = makeConfiguration("untouched");
        EXPECT_NE(DataIOManager::loadConfiguration(name, loaded), CaError::nullError) << loads;
        EXPECT_TRUE(loaded->hasChildAndGet(QStringLiteral("untouched")));
        EXPECT_EQ(vlrTest::logCount(LogLevel::Warning, path.toStdString()), ++loads);
        EXPECT_FALSE(QFile::exists(path));
        QList<QByteArray> kept;
        for (const QString& file : filesBeside(path))
            kept << vlrTest::readFile(QFileInfo(path).dir().filePath(file));
        EXPECT_TRUE(kept.size() == loads && kept.contains(document)) << loads;
    }
}

TEST(ConfigurationFiles, ADamagedFileThatCannotBeMovedIsNotOverwritten) {
    const QString path = DataIOManager::configurationPath(name);
    vlrTest::writeFile(path, "precious");
    vlrTest::expectLog(LogLevel::Warning, "will not be overwritten");
    {
        const vlrTest::ReadOnlyFolder readOnly(QFileInfo(path).path());
        EXPECT_NE(load(), CaError::nullError);
    }
    EXPECT_NE(store("x"), CaError::nullError);
    EXPECT_EQ(vlrTest::readFile(path), QByteArray("precious"));
}
