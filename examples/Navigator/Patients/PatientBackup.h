#pragma once

#include <QtCore/QString>

class QWidget;

// Copies of all patients, from the window. The work has a thread of its own, shows how far it is,
// and can be cancelled. What came of it is told in a box.

/// Asks for a file and writes the backup.
void backUpPatients(QWidget* window);

/// Asks for a backup, and whether its patients shall take the place of the present ones; `losses`
/// says what else goes by that. Empty when they shall not.
QString askForBackup(QWidget* window, const QString& losses);

/// Restores the backup; false where that failed or was cancelled. The repository is closed.
bool restorePatients(const QString& backup);
