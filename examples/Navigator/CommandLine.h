#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// What the program was asked to do.
struct CommandLine {
    QStringList paths; ///< Image files and folders.
    QString selector;  ///< How modules are chosen; empty where it is not said.
    QString tourFolder;
    int tourStage = 0; ///< A part of the tour, run as a process of its own; 0 for the whole.
    QString backup;    ///< A file to back the patients up to; null where that is not asked for.
    QString restore;   ///< One to restore them from; null as well.
    bool selfCheck = false;
    bool selfCheckParts = false; ///< The half of it that runs in a process of its own.
    bool printFirstFrame = false;
    bool exitAfterFirstFrame = false;
    bool help = false;
    bool version = false;
    QString error; ///< Why the arguments cannot be understood; empty where they can.
};

/// The first argument is the name of the program.
CommandLine parseCommandLine(const QStringList& arguments);

/// What --help prints. Needs an application object.
QString commandLineHelp();
