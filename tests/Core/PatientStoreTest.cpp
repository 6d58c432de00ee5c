#include "PatientStoreTest.h"
#include "Data/Study.h"
#include "Documents/TreeXml.h"
#include "IO/IOManager.h"
#include "IO/PatientStore.h"
#include "Support/RecordChecks.h"

#include <new>

// Above all what could cost a patient's data while every call reports success.

using testing::HasSubstr;
using vlr::LogLevel;

namespace {

// Makes a binary part at the last moment, or finds no memory for it, and has as many attributes as
// it is told.
class Encoder : public DataRecord<Encoder, Data> {
public:
    static constexpr const char* className = "Encoder";
    int attributeCount = 0;
    bool lacksMemory = false;

protected:
    ~Encoder() override = default;
    CaError doBinSave() override {
        if (lacksMemory)
            throw std::bad_alloc();
        setBinaryPart(part, "encoded");
        return Data::doBinSave();
    }
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

// What has to hold for a file and for a server.
struct EveryPatientStoreTest : PatientStoreTest, testing::WithParamInterface<const char*> {
    void SetUp() override {
        if (QLatin1String(GetParam()) != QLatin1String("file") && !useServer())
            GTEST_SKIP() << vlrTest::PostgresServer::isMissing;
    }
};

INSTANTIATE_TEST_SUITE_P(Patients, EveryPatientStoreTest, testing::Values("file", "server"),
                         [](const auto& test) { return std::string(test.param); });

} // namespace

TEST_P(EveryPatientStoreTest, APatientComesBackWithItsTreeAndItsBinaryParts) {
    for (const char* text :
         {"山田^太郎", "Nun\u0303ez  ' \"; DROP TABLE patient", "\U0001f600", ""}) {
        const auto patient = makePatient(QStringLiteral(" id ") + QString::fromUtf8(text));
        patient->setName(QString::fromUtf8(text));
        const DataPointer<Study> study(new Study);
        study->setInstitution(QStringLiteral("St. <Mary>\7"));
        study->setTime(QTime(23, 59, 58));
        const DataPointer<DataItem> image(new DataItem);
        image->setBinaryPart(part, QByteArray("\0\1\xff", 3));
        image->setBinaryPart(QStringLiteral("nothing"), {});
        add(patient, study);
        add(study, image);
        store(patient);
        DataIOManager::closeRepository();

        const auto loaded = reloaded(patient);
        EXPECT_EQ(vlr::writeTree(vlrTest::saved(*loaded)),
                  vlr::writeTree(vlrTest::saved(*patient)));
        EXPECT_EQ(loaded->patientId(), patient->patientId());
        EXPECT_EQ(loaded->name(), patient->name());
        EXPECT_EQ(dataCast<Study>(loaded->child(1))->time(), study->time());
        EXPECT_EQ(bytesOf(loaded->child(1)->child(0)), QByteArray("\0\1\xff", 3));
        EXPECT_EQ(bytesOf(loaded->child(1)->child(0), QStringLiteral("nothing")), "");
    }
}

TEST_P(EveryPatientStoreTest, TheListingKnowsThePatientsById) {
    const QString stored[] = {QStringLiteral("3"), QStringLiteral("1"), QStringLiteral("2")};
    for (const QString& id : stored)
        store(makePatient(id));
    std::vector<QString> ids{QStringLiteral("of the last time")};
    ASSERT_EQ(DataIOManager::patientIds(ids), CaError::nullError);
    EXPECT_THAT(ids, testing::UnorderedElementsAreArray(stored));
    std::vector<vlr::URI> uris;
    ASSERT_EQ(DataIOManager::patientList(uris), CaError::nullError);
    ASSERT_EQ(uris.size(), 3U);
    MetaInformation information;
    ASSERT_EQ(DataIOManager::loadPatientMetaInfo(uris[1], information), CaError::nullError);
    const std::pair<const char*, const char*> values[] = {
        {"id", "2"},    {"name", "Doe^Jane"}, {"sex", "1"}, {"birthDate", "1970-01-31"},
        {"weight", ""},
    };
    for (const auto& [name, value] : values)
        EXPECT_EQ(information.value(QLatin1String(name)), QLatin1String(value)) << name;

    ASSERT_EQ(DataIOManager::removePatient(uris[1]), CaError::nullError);
    EXPECT_NE(DataIOManager::loadPatientMetaInfo(uris[1], information), CaError::nullError);
    ASSERT_EQ(DataIOManager::patientList(uris), CaError::nullError);
    EXPECT_EQ(uris.size(), 2U);
}

TEST_F(PatientStoreTest, AnItemWithoutAPlaceHasNoUriForItsParts) {
    const auto item = makePatient(QStringLiteral("1"))->child(0);
    EXPECT_FALSE(item->binaryPartUri(part).isValid());
    EXPECT_EQ(item->saveBinaryParts().text(), "Data: No URI found.");
}

TEST_P(EveryPatientStoreTest, AnItemBringsItsPartsToAnotherPatient) {
    const auto whole = makePatient(QStringLiteral("1"));
    const DataPointer<DataItem> inner(new DataItem);
    inner->setBinaryPart(part, "of the child");
    add(whole->child(0), inner);
    store(whole);
    const auto from = reloaded(whole);
    const auto to = loadedPatient("2");
    to->child(0)->setId(QStringLiteral("own"));
    add(to, from->child(0));
    store(from); // which takes the parts from where they were
    store(to);
    EXPECT_EQ(bytesOf(reloaded(to)->child(1)), "bytes");
    EXPECT_EQ(bytesOf(reloaded(to)->child(1)->child(0)), "of the child");
    EXPECT_EQ(sql("SELECT count(*) FROM binary_part").toInt(), 3);
}

TEST_P(EveryPatientStoreTest, ARemovalCanBeTakenBackAsLongAsThePartsAreThere) {
    const auto patient = loadedPatient("1");
    const auto item = patient->child(0);
    remove(patient, item);
    EXPECT_EQ(bytesOf(item), "bytes");
    add(patient, item);
    store(patient);

    // These bytes are in memory, those of the other item are not.
    const auto unread = reloaded(patient)->child(0);
    remove(patient, item);
    store(patient);
    EXPECT_NE(patient->addChild(unread, false), CaError::nullError);
    EXPECT_EQ(unread->parent(), nullptr);
    add(patient, item);
    store(patient);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");
}

TEST_P(EveryPatientStoreTest, APartWithoutBytesFailsTheStore) {
    const auto patient = loadedPatient("1");
    sql("DELETE FROM binary_part");
    patient->setName(QStringLiteral("New"));
    EXPECT_THAT(errorOfStoring(patient), HasSubstr("pixels"));
    EXPECT_EQ(reloaded(patient)->name(), QStringLiteral("Doe^Jane"));
}

TEST_P(EveryPatientStoreTest, PartsMadeDuringTheStoreAreStored) {
    const RecordFactory<Encoder> factory;
    const auto patient = makePatient(QStringLiteral("1"));
    const DataPointer<Encoder> encoder(new Encoder);
    add(patient, encoder);
    encoder->lacksMemory = true;
    EXPECT_THAT(errorOfStoring(patient), HasSubstr("not enough memory"));
    encoder->lacksMemory = false;
    store(patient);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(1)), "encoded");
}

TEST_P(EveryPatientStoreTest, RemovedPartsAreGoneAndUnchangedOnesAreLeftAlone) {
    const auto patient = makePatient(QStringLiteral("1"));
    const auto item = patient->child(0);
    item->setBinaryPart(QStringLiteral("secret"), "secret");
    const DataPointer<DataItem> removed(new DataItem);
    removed->setBinaryPart(part, "removed");
    add(patient, removed);
    store(patient);
    item->removeBinaryPart(QStringLiteral("secret"));
    remove(patient, removed);
    ASSERT_EQ(IOManager::write(item->binaryPartUri(part), "by another"), CaError::nullError);
    store(patient);
    EXPECT_EQ(sql("SELECT count(*) FROM binary_part").toInt(), 1);
    EXPECT_EQ(sql("SELECT content FROM binary_part"), QByteArray("by another"));
}

TEST_P(EveryPatientStoreTest, WhereMemoryIsShortThePartIsNamedAndNothingIsLost) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "The sanitizer ends a program that gets no memory.";
#endif
    // Larger ones than these the allocator gives back at once.
    constexpr unsigned long size = 40 << 20;
    const QByteArray old(size, 'o');
    const QByteArray young(size, 'n');
    const auto patient = makePatient(QStringLiteral("1"));
    patient->child(0)->setBinaryPart(part, old);
    store(patient);
    patient->child(0)->setBinaryPart(part, young);
    patient->setName(QStringLiteral("New"));
    int refused = 0;
    if (m_server) // Its driver gives up the connection where it cannot take the answer in.
        vlrTest::expectLog(LogLevel::Warning, "opened anew");
    for (const auto room : {size / 2, size * 3 / 2, size * 9 / 2, size * 20}) {
        SCOPED_TRACE(room);
        QByteArray read;
        const auto loaded = reloaded(patient);
        CaError stored, unread;
        {
            const vlrTest::ShortOfMemory shortOfMemory(room);
            stored = DataIOManager::storePatient(patient);
            unread = loaded->child(0)->binaryPart(part, read);
        }
        EXPECT_THAT(stored.text(), testing::AnyOf("", HasSubstr("\"pixels\"")));
        EXPECT_THAT(unread.text(), testing::AnyOf("", HasSubstr("\"pixels\"")));
        const bool isNew = stored == CaError::nullError;
        refused += isNew ? 0 : 1;
        EXPECT_TRUE(unread != CaError::nullError || read == (isNew ? young : old));
        EXPECT_TRUE(bytesOf(reloaded(patient)->child(0)) == (isNew ? young : old));
        EXPECT_EQ(reloaded(patient)->name(),
                  isNew ? QStringLiteral("New") : QStringLiteral("Doe^Jane"));
    }
    EXPECT_GT(refused, 0);
    store(patient);
    EXPECT_TRUE(bytesOf(reloaded(patient)->child(0)) == young);
}

TEST_P(EveryPatientStoreTest, ADocumentThatFindsNoMemoryIsNotTakenForAnEmptyOne) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "The sanitizer ends a program that gets no memory.";
#endif
    vlr::StoredPatient patient;
    patient.uid = patient.patientId = QStringLiteral("1");
    patient.document = QByteArray(40 << 20, 'd');
    const auto store = [&] {
        CaError error;
        return DataIOManager::repository(error)->store(patient, [] { return CaError::nullError; });
    };
    // Old and new are of one length.
    const auto storedByte = [&] {
        CaError error;
        vlr::StoredPatient stored;
        error = DataIOManager::repository(error)->load(patient.uid, 1 << 30, stored);
        EXPECT_EQ(stored.document.size(), patient.document.size()) << error.text();
        return stored.document.isEmpty() ? '?' : stored.document.back();
    };
    ASSERT_EQ(store(), CaError::nullError);
    patient.document.fill('e');
    {
        const vlrTest::ShortOfMemory shortOfMemory(20 << 20);
        EXPECT_NE(store(), CaError::nullError);
    }
    EXPECT_EQ(storedByte(), 'd');
    EXPECT_EQ(store(), CaError::nullError);
    EXPECT_EQ(storedByte(), 'e');
}

TEST_P(EveryPatientStoreTest, WhatCouldNotBeLoadedOrWouldGetMixedUpIsNotStored) {
    const auto patient = makePatient(QStringLiteral("1"));
    const auto expectRefused = [&](const DataPointer<Data>& child, const char* cause) {
        add(patient, child);
        EXPECT_THAT(errorOfStoring(patient), HasSubstr(cause));
        remove(patient, child);
    };
    const DataPointer<Encoder> crowd(new Encoder);
    crowd->attributeCount = 4097;
    expectRefused(crowd, "attributes");

    const DataPointer<DataItem> manyParts(new DataItem);
    for (int i = 0; i < 4097; ++i)
        manyParts->setBinaryPart(QString::number(i), {});
    expectRefused(manyParts, "binary parts");

    // One store would cut what the other refuses.
    const QString badTexts[] = {QStringLiteral("a") + QChar(0),
                                QStringLiteral("\U0001f600").left(1),
                                QStringLiteral("\U0001f600").mid(1) + QLatin1Char('a')};
    for (const QString& bad : badTexts) {
        const DataPointer<DataItem> named(new DataItem);
        named->setId(bad);
        expectRefused(named, "which cannot be stored");
        const DataPointer<Study> study(new Study);
        study->setInstitution(bad);
        expectRefused(study, "The text \"Institution\" of the item");
        const auto other = makePatient(QStringLiteral("2") + bad);
        EXPECT_THAT(errorOfStoring(other), HasSubstr("The patient id contains"));
        other->setPatientId(QStringLiteral("2"));
        other->setName(bad);
        EXPECT_THAT(errorOfStoring(other), HasSubstr("The patient name contains"));
    }

    DataTreeNode node = vlrTest::saved(*patient->child(0));
    const DataPointer<DataItem> clone(new DataItem);
    node.setId(QStringLiteral("clone"));
    ASSERT_EQ(clone->load(node), CaError::nullError);
    clone->setBinaryPart(part, "of the clone");
    expectRefused(clone, "the key of another item");

    const DataPointer<Data> parent(new DataItem);
    add(parent, patient);
    EXPECT_THAT(errorOfStoring(patient), HasSubstr("a part of another item"));
    remove(parent, patient);
    store(patient);
    EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "bytes");

    EXPECT_EQ(DataIOManager::storePatient(makePatient(patient->patientId())).id(),
              DataIOManager::idTakenError);
    sql("UPDATE patient SET patient_id = ' 1 '"); // As before ids were normalized.
    EXPECT_EQ(DataIOManager::storePatient(makePatient(QStringLiteral(" 1"))).id(),
              DataIOManager::idTakenError);
    EXPECT_NE(DataIOManager::storePatient(makePatient(QString())), CaError::nullError);
    EXPECT_NE(DataIOManager::storePatient(nullptr), CaError::nullError);

    const QByteArray tooLarge(static_cast<int>(IOManager::limit) + 1, Qt::Uninitialized);
    EXPECT_NE(IOManager::write(vlr::URI::file(inFolder("a")), tooLarge), CaError::nullError);
}

TEST_P(EveryPatientStoreTest, RemovingIsWholeAndOnlyOfWhatIsThere) {
    const auto patient = loadedPatient("1");
    EXPECT_NE(DataIOManager::removePatient(vlr::URI()), CaError::nullError);
    EXPECT_NE(DataIOManager::removePatient(vlr::URI::patient(part)), CaError::nullError);
    ASSERT_EQ(DataIOManager::removePatient(patient->storage().uri), CaError::nullError);
    EXPECT_NE(DataIOManager::removePatient(patient->storage().uri), CaError::nullError);
    for (const char* table : {"SELECT count(*) FROM document", "SELECT count(*) FROM binary_part"})
        EXPECT_EQ(sql(table).toInt(), 0) << table;
}

// --- what is not changed, or changed by somebody else

TEST_P(EveryPatientStoreTest, AnUnchangedPatientIsNotStoredAgain) {
    const auto patient = loadedPatient("1");
    EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));
    const auto isStoredAgain = [&] {
        const int revision = patient->storage().revision;
        store(patient);
        EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));
        EXPECT_EQ(sql("SELECT revision FROM patient"), patient->storage().revision);
        return patient->storage().revision > revision;
    };
    const auto other = reloaded(patient);
    EXPECT_FALSE(isStoredAgain());
    other->setName(QStringLiteral("Other"));
    store(other); // Nothing was in its way.
    bool isElsewhere = false;
    EXPECT_EQ(DataIOManager::isChangedElsewhere(patient, isElsewhere), CaError::nullError);
    EXPECT_TRUE(isElsewhere);
    EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
    EXPECT_FALSE(DataIOManager::hasUnstoredChanges(patient));

    ASSERT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
    const std::function<void()> changes[] = {
        [&] { patient->setName(QStringLiteral("New")); },
        [&] { patient->child(0)->setBinaryPart(part, "other bytes"); },
        [&] { add(patient, new DataItem); }, [&] { patient->child(0)->removeBinaryPart(part); }};
    for (const auto& change : changes) {
        change();
        EXPECT_TRUE(DataIOManager::hasUnstoredChanges(patient));
        EXPECT_TRUE(isStoredAgain());
        EXPECT_FALSE(isStoredAgain());
    }
}

TEST_P(EveryPatientStoreTest, WhatSomebodyElseStoredIsReplacedOnlyIfTheUserWantsIt) {
    for (const bool isRemoved : {false, true}) {
        const auto patient = makePatient(QString::number(isRemoved));
        store(patient);
        const auto other = reloaded(patient);
        other->setName(QStringLiteral("Other"));
        store(other);
        if (isRemoved) {
            ASSERT_EQ(DataIOManager::removePatient(other->storage().uri), CaError::nullError);
        }
        patient->setName(QStringLiteral("Mine"));
        patient->child(0)->setBinaryPart(part, "mine");
        EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
        if (!isRemoved) {
            EXPECT_EQ(reloaded(patient)->name(), QStringLiteral("Other"));
        }
        // One that fails leaves the user with the same question.
        const DataPointer<Encoder> crowd(new Encoder);
        crowd->attributeCount = 4097;
        add(patient, crowd);
        EXPECT_NE(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
        remove(patient, crowd);
        EXPECT_EQ(DataIOManager::storePatient(patient).id(), DataIOManager::changedElsewhereError);
        ASSERT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
        EXPECT_EQ(reloaded(patient)->name(), QStringLiteral("Mine"));
        EXPECT_EQ(bytesOf(reloaded(patient)->child(0)), "mine");
        store(patient);
    }
}

TEST_P(EveryPatientStoreTest, APatientWithoutItsDataOrFromTheFutureIsAnError) {
    const auto patient = loadedPatient("1");
    sql("DELETE FROM document");
    EXPECT_THAT(errorOfStoring(patient), HasSubstr("missing"));
    sql("UPDATE repository SET version = 2");
    DataIOManager::closeRepository();
    EXPECT_THAT(errorOfStoring(patient), HasSubstr("newer version"));
}

TEST_P(EveryPatientStoreTest, TheStoreReadsNoMoreThanItMay) {
    const auto patient = loadedPatient("1");
    CaError error;
    vlr::PatientStore* const store = DataIOManager::repository(error);
    ASSERT_TRUE(store) << error.text();
    const QString uid = patient->storage().uri.patientUid();
    const QString key = patient->child(0)->key();
    vlr::StoredPatient stored;
    ASSERT_EQ(store->load(uid, 100000, stored), CaError::nullError);
    EXPECT_NE(store->load(uid, stored.document.size() - 1, stored), CaError::nullError);
    QByteArray bytes;
    EXPECT_EQ(store->readPart(uid, key, part, 5, bytes), CaError::nullError);
    EXPECT_NE(store->readPart(uid, key, part, 4, bytes), CaError::nullError);
}

TEST(URI, NamesFilesPatientsAndParts) {
    const QString odd = QString::fromUtf8("a b/ü?&=#%25+'");
    const vlr::URI whole = vlr::URI::patient(odd).part(odd, odd);
    const vlr::URI read(whole.toString());
    EXPECT_EQ(read, whole);
    EXPECT_EQ(read.patientUid(), odd);
    EXPECT_EQ(read.itemKey(), odd);
    EXPECT_EQ(read.partName(), odd);
    const vlr::URI file = vlr::URI::file(QStringLiteral("/tmp/") + odd);
    EXPECT_EQ(vlr::URI(file.toString()).filePath(), QStringLiteral("/tmp/") + odd);
    for (const vlr::URI& invalid : {vlr::URI(), vlr::URI(QStringLiteral("no scheme")),
                                    vlr::URI::patient(QString()), file.part(odd, odd)})
        EXPECT_FALSE(invalid.isValid()) << invalid.toString().toStdString();
}
