#pragma once

#include "IO/PatientStore.h"
#include "IO/ServerAddress.h"
#include "IO/ServerGuard.h"
#include "IO/SqliteChain.h"
#include "IO/SqliteLook.h"

#include <QtCore/QUrl>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <optional>
#include <string>
#include <utility>

struct sqlite3;

namespace vlr {

/// A repository in an SQL database: SQLite in a file, or PostgreSQL when several workstations
/// share one. Both run the same statements; only opening and beginning differ. A lock of somebody
/// else is waited for at most 5 seconds, and so is a server that is gone. A server that is not on
/// this machine has to prove who it is (see ServerAddress), and what it sends is limited.
class SqlPatientStore : public PatientStore {
public:
    static std::unique_ptr<PatientStore> open(const QString& url, CaError& error);
    static std::unique_ptr<PatientStore> look(const QString& url, CaError& error);
    ~SqlPatientStore() override;

    std::string whyReadOnly() const override { return m_whyReadOnly; }
    std::string whyUnprotected() const override { return m_address.whyUnprotected(); }
    bool isTakenAway() const override;
    CaError list(std::vector<MetaInformation>& patients) override;
    CaError patientIds(std::vector<QString>& ids) override;
    CaError metaInformation(const QString& uid, MetaInformation& information) override;
    CaError load(const QString& uid, qint64 limit, StoredPatient& patient) override;
    CaError store(StoredPatient& patient, const std::function<CaError()>& storeParts) override;
    CaError remove(const QString& uid) override;
    CaError readPart(const QString& uid, const QString& itemKey, const QString& name, qint64 limit,
                     QByteArray& bytes) override;
    CaError writePart(const QString& uid, const QString& itemKey, const QString& name,
                      const QByteArray& bytes) override;

private:
    using Step = CaError (SqlPatientStore::*)();

    explicit SqlPatientStore(const QString& url);
    /// The store of the URL after the step for a file or for a server; null after its error.
    static std::unique_ptr<PatientStore> reached(const QString& url, Step file, Step server,
                                                 CaError& error);
    CaError addDatabase(const QString& driver);
    CaError openServer();
    CaError reachServer();
    CaError lookAtServer();
    CaError connectToServer();
    CaError checkRelations();
    CaError checkUrl() const;
    CaError checkFiles() const;
    CaError openFile();
    CaError lookAtFile();
    CaError openFileForWriting();
    CaError openFileForReading(const CaError& reason);
    CaError checkFile();
    void limitFiles() const;
    sqlite3* fileHandle();
    CaError beginChain();
    bool hasChangesBeside() const;
    CaError checkStored(const StoredPatient& patient);
    CaError readVersion(int& version);
    CaError makeTables();
    bool isServer() const;
    bool isFileGone() const;
    CaError checkWritable() const;
    CaError checkId(const StoredPatient& patient);
    CaError checkOtherForms(const StoredPatient& patient);
    CaError storePatientRow(const StoredPatient& patient);
    CaError storeDocument(const StoredPatient& patient);
    CaError storeRows(const StoredPatient& patient, const std::function<CaError()>& storeParts,
                      bool& isUnchanged);
    CaError findUnchanged(const StoredPatient& patient, bool& isUnchanged);
    CaError settleParts(const StoredPatient& patient);
    CaError query(const QString& sql, const QVariantList& values, QSqlQuery& query);
    /// The values of the answer's first row; none where it has no row.
    CaError firstRow(const QString& sql, const QVariantList& values, QVariantList& row,
                     qint64 largestRow = usualRow);
    /// A row of more than `largestRow` bytes is refused.
    CaError rows(const QString& sql, const QVariantList& values,
                 const std::function<void(const QSqlQuery&)>& takeRow,
                 qint64 largestRow = usualRow);
    CaError giveUp(const QString& reason);
    /// Reads "length(content), content" and further columns of the one row that the key names.
    CaError readContent(const QString& what, const QString& columns, const QString& from,
                        const QVariantList& key, qint64 limit, QVariantList& row);
    CaError writeContent(const QVariantList& key, const QByteArray& bytes);
    /// Whether all of the bytes have arrived.
    CaError checkWritten(const QString& from, const QVariantList& key, const QByteArray& bytes);
    CaError run(const QString& sql, const QVariantList& values = {}, int* changedRows = nullptr);
    /// What `work` did is taken back after an error, and when `isIdle` is true after it.
    CaError inTransaction(const std::function<CaError()>& work, const bool& isIdle = false);
    CaError failure(const QString& reason) const;
    CaError lackOfMemory() const;

    static constexpr qint64 usualRow = 1 << 20;       // Bytes of one without a content.
    using FileIdentity = std::pair<quint64, quint64>; // Device and inode.
    static std::optional<FileIdentity> identity(const QString& path);

    // No value of the file that is larger is read as long as it lives, and no memory spent for it.
    class ValueLimit {
    public:
        ValueLimit(const SqlPatientStore& store, qint64 bytes);
        ~ValueLimit();
        ValueLimit(const ValueLimit&) = delete;
        ValueLimit& operator=(const ValueLimit&) = delete;

    private:
        sqlite3* m_file;
        int m_former = 0;
    };

    QString m_text; // The URL as it was given; texts get what ServerAddress::shown() makes of it.
    QUrl m_url;
    QString m_path;                     // Of the file behind the URL's path.
    std::unique_ptr<SqliteLook> m_look; // Of a file that is only looked at.
    std::optional<SqliteUse> m_use;
    ServerAddress m_address;              // Of a server.
    std::unique_ptr<ServerGuard> m_guard; // Of a connection to one.
    QString m_connection;
    QSqlDatabase m_database;
    sqlite3* m_handle = nullptr;        // The driver's, for a file.
    std::optional<FileIdentity> m_file; // Of the file that was opened; none for a server.
    std::string m_whyReadOnly;
    bool m_isInTransaction = false;
    bool m_hasWrittenParts = false; // Since the last store began.
};

} // namespace vlr
