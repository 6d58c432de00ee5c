#include "Base/AskForFiles.h"

#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtWidgets/QFileDialog>

namespace vlr {

QStringList askForFiles(QFileDialog* dialog, const QString& start) {
    const QPointer<QFileDialog> guarded(dialog);
    if (QFileInfo(start).isDir())
        dialog->setDirectory(start);
    else
        dialog->selectFile(start);
    const bool isAccepted = dialog->exec() == QDialog::Accepted && guarded;
    const QStringList files = isAccepted ? guarded->selectedFiles() : QStringList();
    delete guarded.data();
    return files;
}

} // namespace vlr
