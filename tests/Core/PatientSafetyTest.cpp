#include "Data/DataItem.h"
#include "IO/DataIOManager.h"
#include "IO/IOManager.h"
#include "IO/PatientStore.h"
#include "Settings/vlrSettings.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <functional>
#include <gmock/gmock.h>
#include <sys/stat.h>

// What could cost a patient's data while every call reports success.

using vlr::LogLevel;

namespace {

const QString part = QStringLiteral("pixels");

// Makes a binary part at the last moment.
class Encoder : public DataRecord<Encoder, Data> {
public:
    static constexpr const char* className = "Encoder";

protected:
    ~Encoder() override = default;
    CaError doBinSave() override {
        setBinaryPart(part, "encoded");
        return Data::doBinSave();
    }

private:
    friend struct ::RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }
};

// Has as many attributes as it is told.
class Crowd : public DataRecord<Crowd, Data> {
public:
    static constexpr const char* className = "Crowd";
    int attributeCount = 0;

protected:
    ~Crowd() override = default;
    CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const override {
        const CaError error = DataRecord::doSave(node, references);
        for (int i = 0; i < attributeCount; ++i)
            node->appendAttribute(QString::number(i), {});
        return error;
    }

private:
    friend struct ::RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }
};

QString databasePath() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/patients.sqlite");
}

QVariant sql(const QString& statement) {
    QVariant value;
    {
        auto database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("beside"));
        database.setDatabaseName(databasePath());
        EXPECT_TRUE(database.open());
        QSqlQuery query(database);
        EXPECT_TRUE(query.exec(statement)) << statement.toStdString();
        if (query.next())
            value = query.value(0);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("beside"));
    return value;
}

class PatientSafety : public testing::Test {
protected:
    ~PatientSafety() override { DataIOManager::closeRepository(); }

    // A patient with one item that has one part.
    static DataPointer<Patient> makePatient(const char* id) {
        DataPointer<Patient> patient(new Patient);
        patient->setPatientId(QString::fromLatin1(id));
        DataPointer<DataItem> item(new DataItem);
        item->setId(QStringLiteral("item"));
        item->setBinaryPart(part, "bytes");
        EXPECT_EQ(patient->addChild(item, false), CaError::nullError);
        return patient;
    }

    // The same, stored and loaded, so that the bytes are not in memory.
    static DataPointer<Patient> loadedPatient(const char* id) {
        const auto patient = makePatient(id);
        EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        return reloaded(patient);
    }

    static DataPointer<Patient> reloaded(const DataPointer<Patient>& patient) {
        DataPointer<Patient> loaded;
        EXPECT_EQ(DataIOManager::loadPatient(patient->storageUri(), loaded), CaError::nullError);
        return loaded;
    }

    static QByteArray bytesOf(const DataPointer<Data>& item) {
        QByteArray bytes;
        EXPECT_EQ(item->binaryPart(part, bytes), CaError::nullError);
        return bytes;
    }
};

} // namespace

TEST_F(PatientSafety, AnItemBringsItsPartsToAnotherPatient) {
    const auto from = loadedPatient("1");
    const auto to = loadedPatient("2");
    to->child(0)->setId(QStringLiteral("own"));
    ASSERT_EQ(to->addChild(from->child(0), false), CaError::nullError);
    for (const auto& patient : {from, to}) // which takes the part from where it was
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(bytesOf(reloaded(to)->child(1)), "bytes");
    EXPECT_EQ(sql(QStringLiteral("SELECT count(*) FROM binary_part")).toInt(), 2);
}

TEST_F(PatientSafety, ARemovalCanBeTakenBackAsLongAsThePartsAreThere) {
    const auto patient = loadedPatient("1");
    const auto item = patient->child(0);
    ASSERT_EQ(patient->removeChild(item.get()), CaError::nullError);
    EXPECT_EQ(bytesOf(item), "bytes");
    ASSERT_EQ(patient->addChild(item, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);

    // These bytes are in memory, those of the other item are not.
    const auto unread = reloaded(patient)->child(0);
    ASSERT_EQ(patient->removeChild(item.get()), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_NE(patient->addChild(unread, false), CaError::nullError);
    EXPECT_EQ(unread->parent(), nullptr);
    ASSERT_EQ(patient->addChild(item, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");
}

TEST_F(PatientSafety, APartWithoutBytesFailsTheStore) {
    const auto patient = loadedPatient("1");
    sql(QStringLiteral("DELETE FROM binary_part"));
    patient->setName(QStringLiteral("New"));
    EXPECT_THAT(DataIOManager::storePatient(patient).text(), testing::HasSubstr("pixels"));
    EXPECT_EQ(reloaded(patient)->name(), QString());
}

TEST_F(PatientSafety, PartsMadeDuringTheStoreAreStored) {
    const RecordFactory<Encoder> factory;
    const auto patient = makePatient("1");
    ASSERT_EQ(patient->addChild(new Encoder, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(1)), "encoded");
}

TEST_F(PatientSafety, RemovedPartsAreGoneAndUnchangedOnesAreLeftAlone) {
    const auto patient = makePatient("1");
    const auto item = patient->child(0);
    item->setBinaryPart(QStringLiteral("secret"), "secret");
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    item->removeBinaryPart(QStringLiteral("secret"));
    ASSERT_EQ(IOManager::write(item->binaryPartUri(part), "by another"), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(sql(QStringLiteral("SELECT count(*) FROM binary_part")).toInt(), 1);
    EXPECT_EQ(sql(QStringLiteral("SELECT content FROM binary_part")), QByteArray("by another"));
}

TEST_F(PatientSafety, ReplacingAPartOnAFullDiskKeepsTheOldOne) {
    const auto patient = makePatient("1");
    const QByteArray old(20000, 'o');
    patient->child(0)->setBinaryPart(part, old);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    const vlr::URI uri = patient->child(0)->binaryPartUri(part);
    const qint64 size = QFileInfo(databasePath() + QStringLiteral("-wal")).size();
    ASSERT_GT(size, 0); // Changes go beside the database first.
    QByteArray bytes;
    for (const int room : {20000, 40000, 80000, 150000}) {
        {
            const vlrTest::FullDisk fullDisk(static_cast<unsigned long>(size + room));
            EXPECT_NE(IOManager::write(uri, QByteArray(400000, 'n')), CaError::nullError);
        }
        DataIOManager::closeRepository();
        ASSERT_EQ(IOManager::read(uri, bytes), CaError::nullError) << room;
        EXPECT_EQ(bytes, old);
    }
}

TEST_F(PatientSafety, WhatCouldNotBeLoadedOrWouldGetMixedUpIsNotStored) {
    const auto patient = makePatient("1");
    const auto expectRefused = [&](const DataPointer<Data>& child, const char* cause) {
        ASSERT_EQ(patient->addChild(child, false), CaError::nullError);
        EXPECT_THAT(DataIOManager::storePatient(patient).text(), testing::HasSubstr(cause));
        ASSERT_EQ(patient->removeChild(child.get()), CaError::nullError);
    };
    DataPointer<Crowd> crowd(new Crowd);
    crowd->attributeCount = 4097;
    expectRefused(crowd, "attributes");

    crowd = new Crowd;
    for (int i = 0; i < 4097; ++i)
        crowd->setBinaryPart(QString::number(i), {});
    expectRefused(crowd, "binary parts");

    DataTreeNode node;
    ASSERT_EQ(patient->child(0)->save(node), CaError::nullError);
    const DataPointer<DataItem> clone(new DataItem);
    node.setId(QStringLiteral("clone"));
    ASSERT_EQ(clone->load(node), CaError::nullError);
    clone->setBinaryPart(part, "of the clone");
    expectRefused(clone, "the key of another item");

    const DataPointer<Data> parent(new DataItem);
    ASSERT_EQ(parent->addChild(patient, false), CaError::nullError);
    EXPECT_NE(DataIOManager::storePatient(patient), CaError::nullError);
    ASSERT_EQ(parent->removeChild(patient.get()), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");

    const QByteArray tooLarge(static_cast<int>(IOManager::limit) + 1, Qt::Uninitialized);
    EXPECT_NE(
        IOManager::write(vlr::URI::file(vlrTest::testFolder() + QStringLiteral("/a")), tooLarge),
        CaError::nullError);
}

TEST_F(PatientSafety, RemovingIsWholeAndOnlyOfWhatIsThere) {
    const auto patient = loadedPatient("1");
    EXPECT_NE(DataIOManager::removePatient(vlr::URI()), CaError::nullError);
    EXPECT_NE(DataIOManager::removePatient(vlr::URI::patient(part)), CaError::nullError);
    ASSERT_EQ(DataIOManager::removePatient(patient->storageUri()), CaError::nullError);
    EXPECT_NE(DataIOManager::removePatient(patient->storageUri()), CaError::nullError);
    EXPECT_EQ(sql(QStringLiteral("SELECT (SELECT count(*) FROM document) + "
                                 "(SELECT count(*) FROM binary_part)"))
                  .toInt(),
              0);
}

TEST_F(PatientSafety, ADatabaseThatWasTakenAwayIsNotWrittenToAndUsedAgainWhenItIsBack) {
    vlrTest::expectLog(LogLevel::Warning, "was renamed, replaced or removed");
    const auto patient = loadedPatient("1");
    const QString away = databasePath() + QStringLiteral(".away");
    for (const bool isReplaced : {false, true}) {
        ASSERT_TRUE(QFile::rename(databasePath(), away));
        if (isReplaced)
            vlrTest::writeFile(databasePath(), {});
        patient->setName(QString::number(isReplaced));
        const vlr::URI partUri = patient->child(0)->binaryPartUri(part);
        EXPECT_THAT(IOManager::write(partUri, "new").text(), testing::HasSubstr("was renamed"));
        // Listing opens what is there now; the changes beside the old file went into it before.
        std::vector<MetaInformation> patients;
        ASSERT_EQ(DataIOManager::patientMetaInfoList(patients), CaError::nullError);
        EXPECT_EQ(patients.size(), 0U);
        EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
        EXPECT_NE(DataIOManager::removePatient(patient->storageUri()), CaError::nullError);

        ASSERT_TRUE(QFile::remove(databasePath()));
        ASSERT_TRUE(QFile::rename(away, databasePath()));
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");
    }
    EXPECT_EQ(vlrTest::logCount(LogLevel::Warning, "opened anew"), 4);
}

// --- what is not changed, or changed by somebody else

TEST_F(PatientSafety, AnUnchangedPatientIsNotStoredAgain) {
    const auto patient = loadedPatient("1");
    EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));
    const auto isStoredAgain = [&] {
        const int revision = patient->storageRevision();
        EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));
        EXPECT_EQ(sql(QStringLiteral("SELECT revision FROM patient")), patient->storageRevision());
        return patient->storageRevision() > revision;
    };
    const auto other = reloaded(patient);
    EXPECT_FALSE(isStoredAgain());
    other->setName(QStringLiteral("Other"));
    EXPECT_EQ(DataIOManager::storePatient(other), CaError::nullError) << "Nothing was in its way";
    bool isElsewhere = false;
    EXPECT_EQ(DataIOManager::isChangedElsewhere(patient, isElsewhere), CaError::nullError);
    EXPECT_TRUE(isElsewhere);
    EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
    EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));

    ASSERT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
    const std::function<void()> changes[] = {
        [&] { patient->setName(QStringLiteral("New")); },
        [&] { patient->child(0)->setBinaryPart(part, "other bytes"); },
        [&] { EXPECT_EQ(patient->addChild(new DataItem, false), CaError::nullError); },
        [&] { patient->child(0)->removeBinaryPart(part); }};
    for (const auto& change : changes) {
        change();
        EXPECT_TRUE(DataIOManager::hasUnstoredChanges(patient));
        EXPECT_TRUE(isStoredAgain());
        EXPECT_FALSE(isStoredAgain());
    }
}

TEST_F(PatientSafety, TheUserMayReplaceWhatSomebodyElseStored) {
    for (const bool isRemoved : {false, true}) {
        const auto patient = makePatient(isRemoved ? "1" : "2");
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        const auto other = reloaded(patient);
        other->setName(QStringLiteral("Other"));
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
        if (isRemoved) {
            ASSERT_EQ(DataIOManager::removePatient(other->storageUri()), CaError::nullError);
        }
        patient->setName(QStringLiteral("Mine"));
        patient->child(0)->setBinaryPart(part, "mine");
        EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
        ASSERT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
        EXPECT_EQ(reloaded(patient)->name(), QStringLiteral("Mine"));
        EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "mine");
        EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    }
}

TEST_F(PatientSafety, ARepositoryThatCanBeWrittenToAgainIs) {
    const auto patient = loadedPatient("1");
    DataIOManager::closeRepository();
    vlrTest::expectLog(LogLevel::Warning, "can be read but not stored");
    chmod(QFile::encodeName(databasePath()).constData(), 0444);
    patient->setName(QStringLiteral("New"));
    {
        const vlrTest::ReadOnlyFolder readOnly(QFileInfo(databasePath()).path());
        EXPECT_THAT(DataIOManager::storePatient(patient).text(),
                    testing::HasSubstr("reading only"));
    }
    chmod(QFile::encodeName(databasePath()).constData(), 0600);
    EXPECT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(reloaded(patient)->name(), QStringLiteral("New"));
}

TEST_F(PatientSafety, APatientWithoutItsDataOrFromTheFutureIsAnError) {
    const auto patient = loadedPatient("1");
    sql(QStringLiteral("DELETE FROM document"));
    EXPECT_THAT(DataIOManager::storePatient(patient).text(), testing::HasSubstr("missing"));
    sql(QStringLiteral("UPDATE repository SET version = 2"));
    DataIOManager::closeRepository();
    EXPECT_THAT(DataIOManager::storePatient(patient).text(), testing::HasSubstr("newer version"));
}

TEST_F(PatientSafety, TheStoreReadsNoMoreThanItMay) {
    const auto patient = loadedPatient("1");
    CaError error;
    vlr::PatientStore* const store = DataIOManager::repository(error);
    ASSERT_TRUE(store) << error.text();
    const QString uid = patient->storageUri().patientUid();
    vlr::StoredPatient stored;
    ASSERT_EQ(store->load(uid, 100000, stored), CaError::nullError);
    EXPECT_NE(store->load(uid, stored.document.size() - 1, stored), CaError::nullError);
    QByteArray bytes;
    EXPECT_EQ(store->readPart(uid, patient->child(0)->key(), part, 5, bytes), CaError::nullError);
    EXPECT_NE(store->readPart(uid, patient->child(0)->key(), part, 4, bytes), CaError::nullError);
}

TEST_F(PatientSafety, OnAReadOnlyDiskPatientsAreReadButNotStored) {
    const auto patient = loadedPatient("1");
    DataIOManager::closeRepository();
    vlrTest::expectLog(LogLevel::Warning, "can be read but not stored");
    chmod(QFile::encodeName(databasePath()).constData(), 0444);
    const vlrTest::ReadOnlyFolder readOnly(QFileInfo(databasePath()).path());
    EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");
    EXPECT_THAT(DataIOManager::storePatient(patient).text(), testing::HasSubstr("reading only"));
    EXPECT_EQ(vlrTest::logRecords().size(), 1U);
    DataIOManager::closeRepository();
}

TEST_F(PatientSafety, TheDatabaseIsForTheUserAlone) {
    const auto patient = loadedPatient("1");
    for (const char* suffix : {"", "-wal", "/.."}) {
        struct stat status = {};
        const QString path = suffix[0] == '/' ? QFileInfo(databasePath()).path()
                                              : databasePath() + QLatin1String(suffix);
        ASSERT_EQ(stat(QFile::encodeName(path).constData(), &status), 0) << suffix;
        EXPECT_EQ(status.st_mode & 077U, 0U) << path.toStdString();
    }
}

TEST_F(PatientSafety, AnSqliteUrlThatDoesNotNameOneFileIsRefused) {
    const QDir folder(vlrTest::testFolder());
    for (const QString& url :
         {QStringLiteral("sqlite:"), QStringLiteral("sqlite::memory:"),
          QStringLiteral("sqlite:relative.sqlite"),
          QStringLiteral("sqlite://host") + folder.filePath(QStringLiteral("a")),
          QStringLiteral("sqlite://") + folder.filePath(QStringLiteral("a?mode=ro")),
          QStringLiteral("sqlite://") + folder.filePath(QStringLiteral("a#b"))}) {
        CaError error;
        EXPECT_EQ(vlr::PatientStore::open(url, error), nullptr) << url.toStdString();
        EXPECT_THAT(error.text(), testing::HasSubstr("absolute path"));
    }
    EXPECT_TRUE(folder.isEmpty());
    CaError error;
    EXPECT_TRUE(vlr::PatientStore::open(
        QStringLiteral("sqlite://") + folder.filePath(QStringLiteral("a%3Fb")), error))
        << error.text();
}
