#pragma once

#include "vlrGuiExport.h"

#include "Base/QtLoggersStreambuf.h"

#include <QtCore/QPointer>

#include <memory>
#include <ostream>

class QWidget;

/// A stream whose text pops up as a message box whenever it is flushed.
///
///     auto errors = std::make_unique<QtMessageBoxLogger>(2, mainWindow);
///     *errors << "No tracker found." << std::flush;            // returns when it was read
///     vlr::Log::setOStream(vlr::LogLevel::UserError, errors.get());
///
/// One flush shows one box with everything written since the last one, or none where nothing
/// was. All loggers share one queue: what is flushed while a box of any of them is open is kept
/// in order and shown, all in one box with the title and icon of the gravest kind, when that one
/// closes. So neither a flood of messages nor one from inside a box piles up boxes. Should more
/// than a million characters wait, the rest is only counted. Texts are plain UTF-8; long ones are
/// shown as QtMsgBox::setMessage() does.
///
/// While the program is on its way out (ApplicationServices::isLeaving()) no box opens; the text
/// goes to standard error. Without a QApplication nothing is shown and the text is dropped. GUI
/// thread only.
class VLR_GUI_EXPORT QtMessageBoxLogger : public QObject, public std::ostream {
    Q_OBJECT

public:
    /// Kind 0 is "Information", 1 "Warning", 2 "Error"; any other shows nothing. `parent` may be
    /// null or destroyed at any time.
    QtMessageBoxLogger(int kind, QWidget* parent);
    /// Gives levels of vlr::Log that use this stream their default output back; texts that wait
    /// are still shown. From inside the box that a flush of this very stream has opened, use
    /// deleteLater(): the flush is still to return into the stream.
    ~QtMessageBoxLogger() override;

    bool event(QEvent* event) override;

public slots:
    void syncSL(); ///< What a flush does.

private:
    const int m_kind;
    QPointer<QWidget> m_parent;
    std::unique_ptr<__QtLoggersStreambuf> m_buffer;
    QString m_text;    ///< Written, but not shown yet.
    int m_flushes = 0; ///< On the stack.
    bool m_deleteAfterFlush = false;
};
