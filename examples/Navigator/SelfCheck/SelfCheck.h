#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class AppBase;
class CheckList;

/// Says whether this installation works: what the user has stored, which is not changed, and then,
/// in an environment of its own, every part of the program. One line each on standard output.
/// Returns the exit code: 1 after a fault, also where the folders belong to another user. Nothing
/// is made or left in the user's folders, not even a log; only whether they can be written is
/// tried, in folders that are there, with a file of its own that goes again.
int runSelfCheck(int argc, char** argv);

/// The second half, in the process that runs the application: builds and paints every module, view,
/// editor, record and icon. The number of faults.
int checkParts(AppBase& application, const QStringList& modules);

/// Why the user's files cannot be looked at without leaving something that is not the user's: home,
/// configuration and data folder, or what is above one that is not there, have to belong to the
/// user of this process. Empty where they do. To be asked before anything is made.
QString foreignFolderProblem();

/// Why root is not to touch the repository in this file: it, or what is above one that is not
/// there, belongs to a user, who could not use any more what root makes there. Empty for other
/// users, who may share one, and for a server, of which the file is empty.
QString foreignRepositoryProblem(const QString& file);

/// The first half: storage, settings, configurations, patients and translations of the user.
void checkSite(CheckList& list);
