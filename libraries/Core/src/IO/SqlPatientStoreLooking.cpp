// A repository that is read for a check, and left as it is.

#include "IO/RepositoryFiles.h"
#include "IO/RepositorySchema.h"
#include "IO/SqlPatientStore.h"
#include "IO/SqliteDatabase.h"
#include "IO/SqliteLook.h"
#include "Log/vlrLog.h"

#include <QtCore/QFileInfo>
#include <QtSql/QSqlError>

namespace vlr {

namespace {

// Not a problem: the first start of the program makes what is missing.
CaError nothingYet() {
    return CaError(PatientStore::nothingYetError, "There is no repository yet.");
}

} // namespace

std::unique_ptr<PatientStore> SqlPatientStore::look(const QString& url, CaError& error) {
    return reached(url, &SqlPatientStore::lookAtFile, &SqlPatientStore::lookAtServer, error);
}

CaError SqlPatientStore::lookAtServer() {
    int version = 0;
    CaError error = reachServer();
    if (error == CaError::nullError)
        error = run(QStringLiteral("SET default_transaction_read_only = on"));
    if (error == CaError::nullError)
        error = readVersion(version);
    if (error != CaError::nullError)
        return error;
    if (version > RepositorySchema::version)
        return failure(QStringLiteral("it was made by a newer version of this program: it has the "
                                      "version %1")
                           .arg(version));
    return version == 0 ? nothingYet() : error;
}

CaError SqlPatientStore::lookAtFile() {
    CaError error = checkUrl();
    if (error != CaError::nullError)
        return error;
    if (QFileInfo(m_url.path()).size() == 0)
        return nothingYet();
    error = addDatabase(QStringLiteral("QSQLITE"));
    if (error != CaError::nullError)
        return error;
    m_path = realFile(m_url.path());
    const OpeningLock opening(m_path);
    if (opening.isTaken())
        return failure(QStringLiteral("another program is opening it"));
    error = checkFiles();
    if (error != CaError::nullError)
        return error;
    m_look = std::make_unique<SqliteLook>(m_path);
    if (!m_look->problem().isEmpty())
        return failure(m_look->problem());
    if (m_look->hasForeignChanges())
        VLR_LOG(Warning) << "The changes in \"" << m_path
                         << "-wal\" belong to another file than the "
                         << "one that lies there now. The next start of the program keeps them "
                            "aside.";
    m_file = identity(m_url.path());
    m_use.emplace(m_path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_OPEN_READONLY"));
    m_database.setDatabaseName(m_look->name());
    if (!m_database.open())
        return failure(m_database.lastError().text());
    return checkFile();
}

} // namespace vlr
