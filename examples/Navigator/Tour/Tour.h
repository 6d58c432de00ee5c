#pragma once

#include <QtCore/QString>

class AppBase;

/// A part of the tour: drives the application, in which it runs, as a user would, and writes a
/// picture of every station.
///
///     Tour tour(1, folder);          // before the application object
///     tour.start(application);
///     application.run();
///     if (tour.hasFailed()) ...      // something was not as expected; it was printed
class Tour {
public:
    Tour(int stage, const QString& folder); ///< Stage 0 does nothing.

    void start(AppBase& application);
    bool hasFailed() const { return m_failed; }

private:
    void run(AppBase& application);

    int m_stage;
    QString m_folder;
    bool m_failed = false;
};

/// Runs this program once per stage, in an environment of its own, so that the user's data are
/// not touched. Returns the exit code.
int runWholeTour(int argc, char** argv, const QString& folder);
