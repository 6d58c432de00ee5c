#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

class QFileDialog;

namespace vlr {

/// Runs a dialog that asks for files, beginning at the folder or file `start`, and deletes it.
/// Empty when the user leaves it, and when it goes with its owner, which QFileDialog's static
/// functions do not survive. Whoever calls this may be gone by then, too. Where the folder of a
/// file to be saved does not exist, its name is proposed for the user's home folder.
///
///     auto* dialog = new QFileDialog(this, tr("Save Image"));
///     dialog->setAcceptMode(QFileDialog::AcceptSave);
///     const QString path = vlr::askForFiles(dialog, lastPath).value(0);
VLR_GUI_EXPORT QStringList askForFiles(QFileDialog* dialog, const QString& start);

} // namespace vlr
