#pragma once

#include "vlrGuiExport.h"

#include "Base/LogModel.h"
#include "Base/QtLoggersStreambuf.h"

#include <QtWidgets/QWidget>

#include <memory>
#include <ostream>
#include <vector>

class QTableView;

/// A view of the log: its lines, a choice of the lowest level shown, and a button that clears it.
///
///     auto* view = new QtTextEditLogger(panel);
///     view->follow(true);                          // shows every record from now on
///     *view << "WARNING Low disk space" << std::flush;
///
/// The view stays at its end unless the user scrolls up. Ctrl+C copies the selected lines. It
/// keeps the newest 200,000 lines, see LogModel::setLimit().
///
/// A text that is streamed into it becomes lines when it is flushed; a line that begins with the
/// name of a level has that level, another one is an information. Lines appear with the next turn
/// of the event loop, all those of one turn together. Streaming is for the GUI thread only,
/// records that are followed may come from any thread.
class VLR_GUI_EXPORT QtTextEditLogger : public QWidget, public std::ostream {
    Q_OBJECT

public:
    explicit QtTextEditLogger(QWidget* parent = nullptr);
    ~QtTextEditLogger() override;

    using QWidget::width; // a stream has one, too

    /// Whether records of vlr::Log, of all levels that are enabled, are shown. False at first.
    void follow(bool on);
    LogModel* model() const { return m_model; }

public slots:
    void syncSL(); ///< What a flush does.
    void clear();  ///< Removes all lines.

protected:
    using QWidget::event;

private:
    class Inbox;
    void createInterface();
    void createView();
    void showArrived();
    void fitColumn(const std::vector<LogModel::Line>& lines);
    void copySelection() const;

    std::unique_ptr<__QtLoggersStreambuf> m_buffer;
    LogModel* m_model;
    QTableView* m_view;
    std::shared_ptr<Inbox> m_inbox; ///< Shared with records being written in other threads.
    int m_listener = 0;
    bool m_atEnd = true;
};
