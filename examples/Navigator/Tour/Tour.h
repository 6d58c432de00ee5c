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

    ~Tour(); ///< Says so where the program ended before the tour did.
    Tour(const Tour&) = delete;
    Tour& operator=(const Tour&) = delete;

    void start(AppBase& application);
    /// Whether a stage was to be seen and was not, up to its end.
    bool hasFailed() const { return m_stage != 0 && !m_isComplete; }

private:
    void run(AppBase& application);

    int m_stage;
    QString m_folder;
    bool m_isComplete = false;
    bool m_isTold = false; ///< Why it is not.
};

/// Runs this program once per stage, in an environment of its own, so that the user's data are
/// not touched. Returns the exit code.
int runWholeTour(int argc, char** argv, const QString& folder);
