#include "IO/RepositoryBackup.h"
#include "CoreTest.h"
#include "Data/DataItem.h"
#include "IO/DataIOManager.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <csignal>
#include <functional>
#include <new>
#include <sys/wait.h>
#include <unistd.h>

using testing::HasSubstr;
using vlr::LogLevel;

namespace {

QString repository() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/patients.sqlite");
}

DataPointer<Patient> store(const QString& id) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(id);
    DataPointer<DataItem> item(new DataItem);
    item->setBinaryPart(QStringLiteral("pixels"), QByteArray(10000, 'p'));
    EXPECT_EQ(patient->addChild(item, true), CaError::nullError);
    EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    return patient;
}

std::string storedIds() {
    std::vector<QString> ids;
    EXPECT_EQ(DataIOManager::patientIds(ids), CaError::nullError);
    DataIOManager::closeRepository();
    std::sort(ids.begin(), ids.end());
    return QStringList(ids.begin(), ids.end()).join(QLatin1Char(' ')).toStdString();
}

void copyOver(const QString& from, const QString& to) {
    QFile source(from);
    QFile target(to); // The same file with another content, as "cp" does it.
    ASSERT_TRUE(source.open(QIODevice::ReadOnly) && target.open(QIODevice::WriteOnly));
    target.write(source.readAll());
}

void execute(const QString& file, const char* statements) {
    {
        auto database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("b"));
        database.setDatabaseName(file);
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        for (const QString& one : QString::fromLatin1(statements).split(QLatin1Char('\n')))
            EXPECT_TRUE(query.exec(one)) << one.toStdString();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("b"));
}

// A program that stores and is killed, so that what it stored lies beside the file.
void storeAndDie(const QString& id) {
    DataIOManager::closeRepository();
    const pid_t child = fork();
    if (child == 0) {
        store(id);
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_GT(QFileInfo(repository() + QStringLiteral("-wal")).size(), 0);
}

class RepositoryBackupTest : public testing::Test {
protected:
    ~RepositoryBackupTest() override { DataIOManager::closeRepository(); }

    CaError backUp(const std::function<bool(double)>& isWanted = {}) {
        return vlr::backUpRepository(repository(), m_backup, isWanted, m_summary);
    }
    CaError restore(const std::function<bool(double)>& isWanted = {}) {
        return vlr::restoreRepository(m_backup, repository(), isWanted, m_summary);
    }
    static QStringList filesOf(const QString& folder) {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QString m_backup = inFolder("copy");
    QString m_summary;
};

} // namespace

TEST_F(RepositoryBackupTest, WhatWasBackedUpWhileItWasOpenComesBack) {
    store(QStringLiteral("1"));
    const auto patient = store(QStringLiteral("2"));
    ASSERT_EQ(backUp(),
              CaError::nullError); // What it holds lies beside the file for the most part.
    EXPECT_THAT(m_summary.toStdString(), HasSubstr("2 patients"));
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(m_backup).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_THAT(backUp().text(), HasSubstr("exists already"));

    store(QStringLiteral("3"));
    EXPECT_THAT(restore().text(), HasSubstr("in use")); // by this very program
    EXPECT_EQ(storedIds(), "1 2 3");
    ASSERT_EQ(restore(), CaError::nullError);
    EXPECT_EQ(storedIds(), "1 2");
    DataPointer<Patient> loaded;
    ASSERT_EQ(DataIOManager::loadPatient(patient->storage().uri, loaded), CaError::nullError);
    QByteArray bytes;
    ASSERT_EQ(loaded->child(0)->binaryPart(QStringLiteral("pixels"), bytes), CaError::nullError);
    EXPECT_EQ(bytes, QByteArray(10000, 'p'));
    store(QStringLiteral("4")); // The restored one can be stored to.
    EXPECT_EQ(storedIds(), "1 2 4");

    // What was replaced is a repository like any other.
    const QStringList kept = QDir(QFileInfo(repository()).path())
                                 .entryList({QStringLiteral("patients.sqlite.replaced-*")});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_THAT(m_summary.toStdString(), HasSubstr(kept[0].toStdString()));
    copyOver(QFileInfo(repository()).path() + QLatin1Char('/') + kept[0], repository());
    EXPECT_EQ(storedIds(), "1 2 3");
}

TEST_F(RepositoryBackupTest, ADamagedBackupReplacesNothing) {
    store(QStringLiteral("1"));
    ASSERT_EQ(backUp(), CaError::nullError);
    DataIOManager::closeRepository();
    const QString good = inFolder("good");
    ASSERT_TRUE(QFile::rename(m_backup, good));
    const QStringList before = filesOf(QFileInfo(repository()).path());
    const struct {
        const char* what;
        std::function<void()> damage;
        const char* said;
    } damages[] = {
        {"a bit of a part", [&] { execute(m_backup, "UPDATE binary_part SET content = x'00'"); },
         "checksum"},
        {"a lost row", [&] { execute(m_backup, "DELETE FROM binary_part"); }, "checksum"},
        {"an id", [&] { execute(m_backup, "UPDATE patient SET patient_id = '7'"); }, "checksum"},
        {"a kind", [&] { execute(m_backup, "UPDATE patient SET sex = CAST(sex AS BLOB)"); },
         "checksum"},
        {"a trigger",
         [&] {
             execute(m_backup, "CREATE TRIGGER t AFTER INSERT ON patient "
                               "BEGIN DELETE FROM patient; END");
         },
         "trigger"},
        {"a huge seal",
         [&] { execute(m_backup, "UPDATE backup SET made = CAST(zeroblob(200000) AS TEXT)"); },
         "too big"},
        {"statistics that compute for hours",
         [&] {
             execute(m_backup,
                     "ANALYZE\nINSERT INTO sqlite_stat1 VALUES ('patient', NULL, '1')\n"
                     "PRAGMA writable_schema=ON\nUPDATE sqlite_master SET sql = 'CREATE TABLE "
                     "sqlite_stat1(tbl, stat, idx AS (instr(zeroblob(40000000), CAST("
                     "zeroblob(20000000) || x''01'' AS BLOB))))' WHERE name = 'sqlite_stat1'");
         },
         "\"sqlite_stat1\""},
        {"more behind a NUL",
         [&] {
             execute(m_backup, "PRAGMA writable_schema=ON\nUPDATE sqlite_master SET sql = CAST("
                               "CAST(sql AS BLOB) || x'00' || zeroblob(1000) AS TEXT) WHERE name = "
                               "'patient'");
         },
         "\"patient\" is another one"},
        {"no seal", [&] { execute(m_backup, "DROP TABLE backup"); }, "no backup"},
        {"a newer version", [&] { execute(m_backup, "UPDATE repository SET version = 99"); }, "99"},
        {"a cut", [&] { ASSERT_TRUE(QFile::resize(m_backup, 8192)); }, "\""},
        {"nothing", [&] { ASSERT_TRUE(QFile::resize(m_backup, 0)); }, "no backup"},
        {"no file", [&] { ASSERT_TRUE(QFile::remove(m_backup)); }, "There is no file"},
    };
    for (const auto& damage : damages) {
        ASSERT_TRUE(QFile::copy(good, m_backup));
        damage.damage();
        EXPECT_THAT(restore().text(), HasSubstr(damage.said)) << damage.what;
        EXPECT_EQ(filesOf(QFileInfo(repository()).path()), before) << damage.what;
        EXPECT_EQ(storedIds(), "1") << damage.what;
        QFile::remove(m_backup);
    }
}

TEST_F(RepositoryBackupTest, ACancelledWorkLeavesNothing) {
    store(QStringLiteral("1"));
    const QString folder = QFileInfo(m_backup).path();
    const QStringList before = filesOf(folder);
    int asked = 0;
    ASSERT_EQ(backUp([&](double) { return ++asked > 0; }), CaError::nullError);
    ASSERT_GT(asked, 3);
    ASSERT_TRUE(QFile::rename(m_backup, inFolder("whole")));
    for (int last = 1; last < asked; ++last) {
        int left = last;
        EXPECT_EQ(backUp([&](double) { return --left > 0; }).id(), vlr::backupCancelledError);
        EXPECT_EQ(filesOf(folder).size(), before.size() + 1) << last;
    }
    DataIOManager::closeRepository();
    m_backup = inFolder("whole");
    for (int last = 1; last < asked; ++last) {
        int left = last;
        EXPECT_EQ(restore([&](double) { return --left > 0; }).id(), vlr::backupCancelledError);
    }
    const auto runOut = [](double share) {
        return share <= 0.5 || share >= 1 ? true : throw std::bad_alloc();
    };
    EXPECT_THAT(restore(runOut).text(), HasSubstr("not enough memory"));
    EXPECT_EQ(filesOf(QFileInfo(repository()).path()).filter(QStringLiteral("patients")),
              QStringList(QStringLiteral("patients.sqlite")));
}

TEST_F(RepositoryBackupTest, WhatIsReplacedIsKeptWithWhatLiesBesideIt) {
    store(QStringLiteral("1"));
    ASSERT_EQ(backUp(), CaError::nullError);
    storeAndDie(QStringLiteral("2"));
    const QDir folder(QFileInfo(repository()).path());
    const auto kept = [&] {
        return folder.entryInfoList({QStringLiteral("*.replaced-*")}, QDir::Files, QDir::Name);
    };
    ASSERT_EQ(restore(), CaError::nullError);
    EXPECT_EQ(storedIds(), "1");
    ASSERT_EQ(kept().size(), 1);
    copyOver(kept()[0].filePath(), repository());
    EXPECT_EQ(storedIds(), "1 2");
    ASSERT_TRUE(QFile::remove(kept()[0].filePath()));

    // One that cannot be understood is kept byte by byte.
    storeAndDie(QStringLiteral("3"));
    const QByteArray garbage(5000, 'x');
    for (const char* suffix : {"", "-wal"}) {
        QFile file(repository() + QLatin1String(suffix));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(garbage);
    }
    ASSERT_EQ(restore(), CaError::nullError);
    EXPECT_EQ(storedIds(), "1");
    int whole = 0;
    for (const QFileInfo& info : kept()) {
        QFile file(info.filePath());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        whole += file.readAll() == garbage ? 1 : 0;
    }
    EXPECT_EQ(whole, 2);
}

// What a killed program left, beside a file that was there at another time.
TEST_F(RepositoryBackupTest, WhatLiesBesideAnotherFileIsNotApplied) {
    const QString wal = repository() + QStringLiteral("-wal");
    const auto keep = [&](const char* name) {
        DataIOManager::closeRepository();
        EXPECT_TRUE(QFile::copy(repository(), inFolder(name)));
    };
    EXPECT_EQ(storedIds(), "");
    keep("older");
    store(QStringLiteral("1"));
    keep("own");
    storeAndDie(QStringLiteral("2"));
    ASSERT_TRUE(QFile::copy(wal, inFolder("wal")));
    EXPECT_EQ(storedIds(), "1 2");
    keep("applied");
    store(QStringLiteral("3"));
    keep("newer");
    ASSERT_TRUE(QFile::copy(inFolder("own"), inFolder("former")));
    execute(inFolder("former"), "DROP TABLE chain"); // as former releases left it
    ASSERT_EQ(backUp(), CaError::nullError);
    ASSERT_EQ(restore(), CaError::nullError);
    keep("restored");

    const struct {
        const char* file;
        const char* ids;
        bool isForeign;
    } cases[] = {{"own", "1 2", false}, {"applied", "1 2", false}, {"former", "1 2", false},
                 {"older", "", true},   {"newer", "1 2 3", true},  {"restored", "1 2 3", true}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.file);
        copyOver(inFolder(one.file), repository());
        copyOver(inFolder("wal"), wal);
        if (one.isForeign)
            vlrTest::expectLog(LogLevel::UserWarning, "belong to another file");
        EXPECT_EQ(storedIds(), one.ids);
        const QDir folder(QFileInfo(repository()).path());
        const auto kept = folder.entryInfoList({QStringLiteral("*-wal.foreign-*")});
        ASSERT_EQ(kept.size(), one.isForeign ? 1 : 0);
        for (const QFileInfo& file : kept) {
            EXPECT_EQ(file.size(), QFileInfo(inFolder("wal")).size());
            QFile::remove(file.filePath());
        }
        store(QStringLiteral("9")); // It can be stored to.
        DataIOManager::closeRepository();
    }
}

TEST_F(RepositoryBackupTest, ACopyWithoutItsChangesIsNoEmptyRepository) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(repository()).path()));
    execute(repository(), "PRAGMA user_version = 1"); // A file without tables.
    ASSERT_GT(QFileInfo(repository()).size(), 0);
    std::vector<MetaInformation> patients;
    EXPECT_THAT(DataIOManager::patientMetaInfoList(patients).text(), HasSubstr("holds nothing"));
}
