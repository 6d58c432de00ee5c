#include "BackupCommand.h"

#include "Files/PatientFile.h"
#include "IO/DataIOManager.h"
#include "IO/RepositoryBackup.h"
#include "SelfCheck/SelfCheck.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <iostream>
#include <unistd.h>

namespace {

// Writes a line whenever the per cents change, over the former one.
class Progress {
public:
    bool operator()(double share) {
        const int now = static_cast<int>(share * 100);
        if (now != m_percent && isatty(STDERR_FILENO) != 0) {
            std::cerr << '\r' << now << " %" << std::flush;
            m_percent = now;
        }
        return true;
    }
    void end() const {
        if (m_percent >= 0)
            std::cerr << '\r' << std::flush;
    }

private:
    int m_percent = -1;
};

using Work = CaError (*)(const QString& repository, const QString& backup,
                         const std::function<bool(double)>& isWanted, QString& summary);

CaError restore(const QString& repository, const QString& backup,
                const std::function<bool(double)>& isWanted, QString& summary) {
    return vlr::restoreRepository(backup, repository, isWanted, summary, vlr::patientDataRights());
}

// Before anything is made: root would take from a user what that one needs.
CaError ownFile(QString& repository) {
    QString foreign = foreignFolderProblem();
    CaError error;
    if (foreign.isEmpty())
        error = DataIOManager::repositoryFile(repository);
    if (foreign.isEmpty() && error == CaError::nullError)
        foreign = foreignRepositoryProblem(repository);
    return foreign.isEmpty() ? error : CaError("Backup::foreign", foreign.toStdString());
}

int run(int argc, char** argv, const QString& backup, Work work, const char* done) {
    const QCoreApplication application(argc, argv);
    // As the application object does.
    QCoreApplication::setApplicationName(
        QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    QString repository;
    QString summary;
    CaError error = ownFile(repository);
    Progress progress;
    if (error == CaError::nullError)
        error = work(repository, QFileInfo(backup).absoluteFilePath(), std::ref(progress), summary);
    progress.end();
    if (error != CaError::nullError) {
        std::cerr << "Navigator: " << error.text() << std::endl;
        return EXIT_FAILURE;
    }
    std::cout << done << summary.toStdString() << std::endl;
    return EXIT_SUCCESS;
}

} // namespace

int runBackup(int argc, char** argv, const QString& backup) {
    return run(argc, argv, backup, &vlr::backUpRepository, "Backed up: ");
}

int runRestore(int argc, char** argv, const QString& backup) {
    return run(argc, argv, backup, &restore, "Restored: ");
}
