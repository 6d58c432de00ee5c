#include "Base/AskForFiles.h"

#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtWidgets/QFileDialog>

namespace vlr {

QStringList askForFiles(QFileDialog* dialog, const QString& start) {
    const QPointer<QFileDialog> guarded(dialog);
    const QFileInfo place(start);
    const bool isName = dialog->acceptMode() == QFileDialog::AcceptSave || place.exists();
    if (place.isDir())
        dialog->setDirectory(start);
    else if (isName)
        dialog->selectFile(start);
    else // There is nothing of that name to be opened.
        dialog->setDirectory(place.path());
    const bool isAccepted = dialog->exec() == QDialog::Accepted && guarded;
    const QStringList files = isAccepted ? guarded->selectedFiles() : QStringList();
    delete guarded.data();
    return files;
}

} // namespace vlr
