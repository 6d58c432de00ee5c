#include "PatientStoreTest.h"

#include "IO/PatientStore.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

using testing::HasSubstr;

namespace {

struct PatientServerTest : PatientStoreTest {
    void SetUp() override {
        if (!useServer())
            GTEST_SKIP() << vlrTest::PostgresServer::isMissing;
        m_patient->setPatientId(QStringLiteral("1"));
    }

    CaError storeAs(const char* name) {
        m_patient->setName(QString::fromLatin1(name));
        return DataIOManager::storePatient(m_patient);
    }
    QString storedName() {
        DataIOManager::closeRepository();
        const auto loaded = reloaded(m_patient);
        return loaded ? loaded->name() : QString();
    }

    DataPointer<Patient> m_patient{new Patient};
};

// On a machine with other work a server may not keep its times.
void tryInTime(CaError& error, const std::function<void()>& attempt) {
    constexpr int mostAttempts = 20; // A server that never answers is a fault.
    bool isOutOfTime = true;
    for (int i = 0; i < mostAttempts && isOutOfTime; ++i) {
        error = CaError::nullError;
        attempt();
        isOutOfTime = error.text().find("timeout") != std::string::npos;
    }
}

} // namespace

TEST_F(PatientServerTest, AServerThatComesBackIsUsedAgain) {
    ASSERT_EQ(storeAs("Before"), CaError::nullError);
    m_server->kill();
    vlrTest::expectLog(vlr::LogLevel::Warning, "its server disconnected");
    EXPECT_THAT(storeAs("Typed").text(), HasSubstr("Unable to connect"));
    m_server->start();
    EXPECT_EQ(DataIOManager::storePatient(m_patient), CaError::nullError);
    EXPECT_EQ(storedName(), QStringLiteral("Typed"));

    // Nobody has to fail first where the server was restarted meanwhile.
    m_server->kill();
    m_server->start();
    EXPECT_EQ(storeAs("After"), CaError::nullError);
    EXPECT_EQ(storedName(), QStringLiteral("After"));

    const DataPointer<DataItem> item(new DataItem);
    item->setBinaryPart(part, "bytes");
    add(m_patient, item);
    store(m_patient);
    const auto loaded = reloaded(m_patient);
    m_server->kill();
    m_server->start();
    EXPECT_EQ(bytesOf(loaded->child(0)), "bytes");
}

TEST_F(PatientServerTest, APartThatIsTooLargeForAServerIsNamedAndNothingChanges) {
    const DataPointer<DataItem> item(new DataItem);
    item->setBinaryPart(part, "bytes");
    add(m_patient, item);
    ASSERT_EQ(storeAs("Before"), CaError::nullError);
    item->setBinaryPart(part, QByteArray(600 << 20, Qt::Uninitialized));
    const std::string error = storeAs("After").text();
    EXPECT_THAT(error, HasSubstr("The part \"pixels\" with 629145600 bytes"));
    EXPECT_THAT(error, HasSubstr("a server takes at most"));
    EXPECT_TRUE(DataIOManager::hasUnstoredChanges(m_patient));
    EXPECT_EQ(storedName(), QStringLiteral("Before"));
    item->setBinaryPart(part, "fewer");
    EXPECT_EQ(DataIOManager::storePatient(m_patient), CaError::nullError);
}

TEST_F(PatientServerTest, ALockIsNotWaitedForForEver) {
    ASSERT_EQ(storeAs("Before"), CaError::nullError);
    QSqlDatabase other = m_server->connection(QStringLiteral("other"));
    ASSERT_TRUE(other.open());
    QSqlQuery lock(other);
    ASSERT_TRUE(lock.exec(QStringLiteral("BEGIN")) &&
                lock.exec(QStringLiteral("LOCK TABLE patient")));
    EXPECT_THAT(storeAs("Typed").text(), HasSubstr("lock timeout"));
    ASSERT_TRUE(lock.exec(QStringLiteral("ROLLBACK")));
    EXPECT_EQ(storedName(), QStringLiteral("Before"));
    EXPECT_EQ(DataIOManager::storePatient(m_patient), CaError::nullError);
}

TEST_F(PatientServerTest, WorkstationsThatStartAtOnceAgreeOnTablesAndIds) {
    constexpr int workstations = 8;
    constexpr int patients = 20;
    std::mutex mutex;
    std::condition_variable allOpened;
    int opened = 0;
    std::atomic<int> stored{0};
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < workstations; ++number)
        threads.emplace_back([&, number, url = m_server->url()] {
            CaError error;
            std::unique_ptr<vlr::PatientStore> store;
            tryInTime(error, [&] { store = vlr::PatientStore::open(url, error); });
            EXPECT_TRUE(store) << error.text();
            { // All begin when the last one is there.
                std::unique_lock<std::mutex> lock(mutex);
                if (++opened == workstations)
                    allOpened.notify_all();
                allOpened.wait(lock, [&] { return opened == workstations; });
            }
            for (int id = 0; store && id < patients; ++id) {
                vlr::StoredPatient patient;
                patient.uid = QStringLiteral("%1 of %2").arg(id).arg(number);
                patient.patientId = QString::number(id);
                patient.document = "document";
                tryInTime(error, [&] {
                    error = store->store(patient, [] { return CaError::nullError; });
                });
                stored += error == CaError::nullError;
                refused += error.id() == DataIOManager::idTakenError;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(stored, patients);
    EXPECT_EQ(refused, (workstations - 1) * patients);
    std::vector<QString> ids;
    EXPECT_EQ(DataIOManager::patientIds(ids), CaError::nullError);
    EXPECT_EQ(ids.size(), std::size_t(patients));
}
