#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QApplication>

class QSocketNotifier;

/// The QApplication of an application built on this library. It reports the Unix signals
/// SIGHUP, SIGINT and SIGTERM from the event loop and then ends the loop, so that everything
/// that is done at a normal exit is done. A signal that the process was started to ignore stays
/// ignored.
class VLR_GUI_EXPORT QtApplication : public QApplication {
    Q_OBJECT

public:
    QtApplication(int& argc, char** argv);
    ~QtApplication() override; ///< Puts the previous signal handlers back.

signals:
    void unixSignal(int signal);
    /// The process was asked to end; emitted after unixSignal(), before the loop ends.
    void terminationRequested();

private:
    void readSignals();

    QSocketNotifier* m_notifier = nullptr;
};
