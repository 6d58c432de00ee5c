#include "Patients/PatientBackup.h"

#include "Base/AskForFiles.h"
#include "Base/QtMsgBox.h"
#include "Files/PatientFile.h"
#include "IO/DataIOManager.h"
#include "IO/RepositoryBackup.h"
#include "Log/vlrLog.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QPushButton>

#include <atomic>
#include <functional>
#include <thread>

namespace {

constexpr int turn = 50; // milliseconds

using IsWanted = std::function<bool(double)>;
using Work = std::function<CaError(const IsWanted&)>;

QString tr(const char* text) {
    return QCoreApplication::translate("PatientBackup", text);
}

// Runs the work beside the event loop, in which the user may cancel it. A program that is told to
// end cancels it, too.
CaError runBeside(const QString& title, const Work& work) {
    std::atomic<double> share{0};
    std::atomic<bool> isWanted{true};
    std::atomic<bool> isDone{false};
    CaError result;
    CaProgressMonitor* progress = CaProgressMonitor::getInstance();
    const CaConnection cancelled(*progress, CaProgressMonitor::CANCELLED,
                                 [&](auto&&...) { isWanted = false; });
    // At once, since nothing else may be done meanwhile.
    const int usualDuration = progress->getMinimumDuration();
    progress->setMinimumDuration(0);
    progress->start(title.toStdString(), 100, true, false, 1);
    std::thread thread([&] {
        result = work([&](double done) {
            share = done;
            return isWanted.load();
        });
        isDone = true;
    });
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        CaProgressMonitor::getInstance()->setProgress(static_cast<int>(share * 100));
        if (isDone)
            loop.quit();
    });
    timer.start(turn);
    loop.exec();
    isWanted = isDone.load();
    thread.join();
    progress = CaProgressMonitor::getInstance(); // It may have been replaced.
    progress->end();
    progress->setMinimumDuration(usualDuration);
    return result;
}

// A cancelled work is no news for who cancelled it.
bool tell(const CaError& error, const QString& failed, const QString& done) {
    if (error.id() == vlr::backupCancelledError)
        return false;
    if (error != CaError::nullError)
        VLR_LOG(UserError) << failed.toStdString() << '\n' << error.text();
    else
        VLR_LOG(UserInfo) << done.toStdString();
    return error == CaError::nullError;
}

QString filter() {
    return tr("Backups (*.vlr-backup);;All files (*)");
}

QString proposedFile() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) +
           QStringLiteral("/patients-") +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmm")) +
           QStringLiteral(".vlr-backup");
}

QFileDialog* fileDialog(QWidget* window, const QString& title) {
    auto* const dialog = new QFileDialog(window, title);
    dialog->setNameFilter(filter());
    dialog->setDefaultSuffix(QStringLiteral("vlr-backup"));
    return dialog;
}

bool hasFile(QString& repository, const QString& failed) {
    const CaError error = DataIOManager::repositoryFile(repository);
    return error == CaError::nullError || tell(error, failed, {});
}

} // namespace

void backUpPatients(QWidget* window) {
    const QString failed = tr("The patients were not backed up.");
    QString repository;
    if (!hasFile(repository, failed))
        return;
    QFileDialog* const dialog = fileDialog(window, tr("Back up the patients"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // A backup is never replaced, which the error then says.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    const QString backup = vlr::askForFiles(dialog, proposedFile()).value(0);
    if (backup.isEmpty())
        return;
    QString summary;
    const CaError error = runBeside(tr("Backing up the patients"), [&](const IsWanted& isWanted) {
        return vlr::backUpRepository(repository, backup, isWanted, summary);
    });
    tell(error, failed, tr("The patients were backed up: %1").arg(summary));
}

QString askForBackup(QWidget* window, const QString& losses) {
    QString repository;
    if (!hasFile(repository, tr("Nothing was restored.")))
        return {};
    const QPointer<QWidget> owner = window;
    QFileDialog* const dialog = fileDialog(window, tr("Restore a backup"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    const QString backup =
        vlr::askForFiles(dialog,
                         QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
            .value(0);
    if (backup.isEmpty() || !owner)
        return {};
    const QPointer<QMessageBox> box = new QMessageBox(window);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(tr("Restore a backup"));
    QString text = tr("All patients of this program are replaced by those of the backup\n\n%1\n\n"
                      "What was stored since that backup was made is no longer in the list. The "
                      "present patients are kept in a file beside the repository.")
                       .arg(backup);
    if (!losses.isEmpty())
        text += QStringLiteral("\n\n") + losses;
    QtMsgBox::setMessage(*box, text);
    QPushButton* const yes = box->addButton(tr("&Replace the patients"), QMessageBox::YesRole);
    yes->setObjectName(QStringLiteral("replacePatients"));
    box->setEscapeButton(box->addButton(QMessageBox::Cancel));
    QtMsgBox::takeDefaultAway(*box);
    box->exec();
    const bool isWanted = box && box->clickedButton() == yes;
    delete box.data();
    return isWanted ? backup : QString();
}

bool restorePatients(const QString& backup) {
    const QString failed = tr("Nothing was restored.");
    QString repository;
    if (!hasFile(repository, failed))
        return false;
    DataIOManager::closeRepository(); // Nobody may have it open.
    QString summary;
    const vlr::FileRights rights = vlr::patientDataRights();
    const CaError error = runBeside(tr("Restoring the patients"), [&](const IsWanted& isWanted) {
        return vlr::restoreRepository(backup, repository, isWanted, summary, rights);
    });
    return tell(error, failed, tr("The patients were restored: %1").arg(summary));
}
