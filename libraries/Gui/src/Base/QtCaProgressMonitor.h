#pragma once

#include "vlrGuiExport.h"

#include "Progress/CaProgressMonitor.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <chrono>
#include <string>

class QWidget;

/// Shows the progress of long operations in a modal dialog.
///
///     QtCaProgressMonitor::attach(mainWindow);    // once; AppBase does it
///     ...
///     CaProgressMonitor* progress = CaProgressMonitor::getInstance();
///     progress->start("Reading slice ", count, true, true, 1);
///     for (int i = 0; i < count && !cancelled; ++i) {
///         read(i);
///         progress->tick();
///     }
///     progress->end();
///
/// The dialog appears once the operation has lasted getMinimumDuration() milliseconds. tick()
/// processes events, so whatever the user does meanwhile happens inside it: another operation may
/// start or end there, the parent may be closed and even the monitor be replaced. Ticks less than
/// 10 ms after the last processing of events only move the bar and the counter, so a tick may be
/// called as often as convenient.
///
/// Cancel, Escape and closing the dialog notify CaProgressMonitor::CANCELLED, once per operation.
/// From then on nothing is shown until end() and the next start. A dialog that is not cancelable
/// stays open whatever the user presses; it steps aside while another modal window is open.
///
/// Owned by CaProgressMonitor and removed again together with the QApplication. GUI thread only.
class VLR_GUI_EXPORT QtCaProgressMonitor : public QObject, public CaProgressMonitor {
    Q_OBJECT

public:
    /// Installs a monitor whose dialogs belong to `parent`, which may be null and may be
    /// destroyed at any time. Replaces the one installed before.
    static void attach(QWidget* parent);
    using CaSubject::attach;

    ~QtCaProgressMonitor() override;

    /// Whether start() flushes the event queue once the dialog is set up. False by default.
    static bool isFlushX() noexcept;
    static void setFlushX(bool on) noexcept;
    /// Kept for the application; the monitor itself does not use it. False by default.
    static bool isSyncX() noexcept;
    static void setSyncX(bool on) noexcept;

    /// Ends what is running and shows the busy cursor until end().
    void start() override;
    void end() override;
    /// Adds the step of the operation and processes events. With an unknown total (0) the
    /// progress has no bound, else a tick at the maximum only processes events.
    void tick() override;
    void setText(const std::string& text) override;
    /// Milliseconds before a dialog appears; 50 by default, negative counts as 0. Takes effect
    /// with the next start.
    void setMinimumDuration(int milliseconds) override;

    int getProgress() const override;   ///< 0 while no dialog exists.
    int getTotalSteps() const override; ///< 0 while no dialog exists.
    std::string getText() override;
    bool getShowCounterFlag() const override;
    int getMinimumDuration() override;

public slots:
    /// Ends what is running and opens a dialog. `totalSteps` 0 or less means unknown. With
    /// `showCounter` the label is the text followed at once by "progress of total".
    void start(const std::string& text, int totalSteps, bool cancelable, bool showCounter,
               int progressStep) override;
    void start(const QString& text, int totalSteps, bool cancelable, bool showCounter,
               int progressStep);
    void reset() override;
    /// Sets the progress as it is, without processing events; the bar ignores a value outside
    /// its range. A dialog whose time has come is shown and painted nevertheless, but cannot be
    /// operated.
    void setProgress(int progress) override;
    void setTotalSteps(int totalSteps) override; ///< 0 or less: unknown.
    void setText(const QString& text);
    void setShowCounterFlag(bool counterVisible) override;
    void setDialogCaption(const QString& caption); ///< Ignored while no dialog exists.

protected:
    explicit QtCaProgressMonitor(QWidget* parent);
    void update() override; ///< Brings the counter up to date, where one is shown.
    void updateText();
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void cancel();

private:
    class Dialog;
    class Nesting;
    bool isRunning() const;
    bool endAll(); ///< False if this monitor did not survive it.
    QString labelText(int progress) const;
    void processEvents(const Nesting& nesting, bool always);
    void bringUpToDate(const Nesting& nesting);

    bool m_showCounter = false;
    QElapsedTimer m_sinceModal; ///< Since another modal window of the program hid.
    bool m_started = false;     ///< An operation runs that nobody has cancelled.
    int m_progress = 0;
    int m_progressStep = 1;
    int m_minimumDuration = 50;
    std::string m_text;
    QPointer<QWidget> m_parent;
    QPointer<Dialog> m_dialog;
    bool m_waitCursor = false;

    int m_nesting = 0; ///< How many calls of ours are on the stack that run foreign code.
    std::chrono::steady_clock::time_point m_nextEvents;
    std::chrono::steady_clock::time_point m_nextPainting; ///< Of setProgress().
};
