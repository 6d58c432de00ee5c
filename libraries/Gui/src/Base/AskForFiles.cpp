#include "Base/AskForFiles.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtWidgets/QFileDialog>

namespace vlr {

QStringList askForFiles(QFileDialog* dialog, const QString& start) {
    const QPointer<QFileDialog> guarded(dialog);
    QFileInfo place(start);
    // Nobody can save in a folder that is not there, as the documents of a new account.
    if (dialog->acceptMode() == QFileDialog::AcceptSave && !place.dir().exists())
        place.setFile(QDir::home(), place.fileName());
    const bool isName = dialog->acceptMode() == QFileDialog::AcceptSave || place.exists();
    if (place.isDir())
        dialog->setDirectory(place.filePath());
    else if (isName)
        dialog->selectFile(place.filePath());
    else // There is nothing of that name to be opened.
        dialog->setDirectory(place.path());
    const bool isAccepted = dialog->exec() == QDialog::Accepted && guarded;
    const QStringList files = isAccepted ? guarded->selectedFiles() : QStringList();
    delete guarded.data();
    return files;
}

} // namespace vlr
