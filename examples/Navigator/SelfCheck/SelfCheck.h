#pragma once

#include <QtCore/QStringList>

class AppBase;
class CheckList;

/// Says whether this installation works: what the user has stored, which is not changed, and then,
/// in an environment of its own, every part of the program. One line each on standard output.
/// Returns the exit code: 1 after a fault.
int runSelfCheck(int argc, char** argv);

/// The second half, in the process that runs the application: builds and paints every module, view,
/// editor, record and icon. The number of faults.
int checkParts(AppBase& application, const QStringList& modules);

/// The first half: storage, settings, configurations, patients and translations of the user.
void checkSite(CheckList& list);
