#pragma once

#include "CoreTest.h"
#include "Data/DataItem.h"
#include "IO/DataIOManager.h"
#include "Support/PostgresServer.h"

#include <QtCore/QStandardPaths>
#include <QtSql/QSqlQuery>

#include <memory>

inline const QString part = QStringLiteral("pixels");

inline QString databasePath() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/patients.sqlite");
}

/// With the repository that patients are stored in: a file, or that of a server.
struct PatientStoreTest : testing::Test {
    ~PatientStoreTest() override { DataIOManager::closeRepository(); }

    // Instead of the file. False where none is installed.
    bool useServer() {
        m_server = std::make_unique<vlrTest::PostgresServer>();
        if (!m_server->isInstalled())
            return false;
        m_server->start();
        const QString key = QStringLiteral("Velora/Application/PatientRepository");
        EXPECT_EQ(vlr::Settings::set(key, m_server->url()), CaError::nullError);
        return true;
    }

    // In the repository, past the library.
    QVariant sql(const char* statement) const {
        const QString connection = QStringLiteral("beside");
        QVariant value;
        {
            QSqlDatabase database =
                m_server ? m_server->connection(connection)
                         : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
            if (!m_server)
                database.setDatabaseName(databasePath());
            EXPECT_TRUE(database.open());
            QSqlQuery query(database);
            EXPECT_TRUE(query.exec(QLatin1String(statement))) << statement;
            if (query.next())
                value = query.value(0);
        }
        QSqlDatabase::removeDatabase(connection);
        return value;
    }

    // A patient with one item that has one part.
    static DataPointer<Patient> makePatient(const QString& id) {
        DataPointer<Patient> patient(new Patient);
        patient->setPatientId(id);
        patient->setName(QStringLiteral("Doe^Jane"));
        patient->setSex(Patient::Female);
        patient->setBirthDate(QDate(1970, 1, 31));
        DataPointer<DataItem> item(new DataItem);
        item->setId(QStringLiteral("item"));
        item->setBinaryPart(part, "bytes");
        add(patient, item);
        return patient;
    }

    static void add(const DataPointer<Data>& parent, const DataPointer<Data>& child) {
        ASSERT_EQ(parent->addChild(child, false), CaError::nullError);
    }
    static void remove(const DataPointer<Data>& parent, const DataPointer<Data>& child) {
        ASSERT_EQ(parent->removeChild(child.get()), CaError::nullError);
    }
    static void store(const DataPointer<Patient>& patient) {
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    }
    static std::string errorOfStoring(const DataPointer<Patient>& patient) {
        return DataIOManager::storePatient(patient).text();
    }

    // The patient, stored and loaded, so that the bytes are not in memory.
    static DataPointer<Patient> loadedPatient(const char* id) {
        const auto patient = makePatient(QLatin1String(id));
        store(patient);
        return reloaded(patient);
    }
    static DataPointer<Patient> reloaded(const DataPointer<Patient>& patient) {
        DataPointer<Patient> loaded;
        EXPECT_EQ(DataIOManager::loadPatient(patient->storage().uri, loaded), CaError::nullError);
        return loaded;
    }

    static QByteArray bytesOf(const DataPointer<Data>& item, const QString& name = part) {
        QByteArray bytes("none");
        EXPECT_EQ(item->binaryPart(name, bytes), CaError::nullError);
        return bytes;
    }

    std::unique_ptr<vlrTest::PostgresServer> m_server; // None for a file.
};
