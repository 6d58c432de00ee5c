#pragma once

#include "IO/PatientStore.h"

#include <QtCore/QUrl>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

namespace vlr {

/// A repository in an SQL database: SQLite in a file, or PostgreSQL when several workstations
/// share one. Both run the same statements; only opening and beginning differ.
class SqlPatientStore : public PatientStore {
public:
    static std::unique_ptr<PatientStore> open(const QUrl& url, CaError& error);
    ~SqlPatientStore() override;

    CaError list(std::vector<MetaInformation>& patients) override;
    CaError metaInformation(const QString& uid, MetaInformation& information) override;
    CaError load(const QString& uid, StoredPatient& patient) override;
    CaError store(StoredPatient& patient, const std::function<CaError()>& storeParts) override;
    CaError remove(const QString& uid) override;
    CaError readPart(const QString& uid, const QString& itemKey, const QString& name, qint64 limit,
                     QByteArray& bytes) override;
    CaError writePart(const QString& uid, const QString& itemKey, const QString& name,
                      const QByteArray& bytes) override;

private:
    explicit SqlPatientStore(const QUrl& url);
    CaError openDatabase();
    CaError makeTables();
    CaError storeRows(StoredPatient& patient, const std::function<CaError()>& storeParts);
    CaError checkRevision(const StoredPatient& patient);
    CaError removeOrphanedParts(const StoredPatient& patient);
    CaError query(const QString& sql, const QVariantList& values, QSqlQuery& query);
    CaError run(const QString& sql, const QVariantList& values = {});
    CaError inTransaction(const std::function<CaError()>& work);
    CaError failure(const QString& reason) const;

    QUrl m_url;
    QString m_connection;
    QSqlDatabase m_database;
};

} // namespace vlr
