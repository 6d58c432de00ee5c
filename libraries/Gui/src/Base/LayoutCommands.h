#pragma once

#include "Base/QtQuadView.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <array>
#include <functional>

class QAction;
class QContextMenuEvent;
class QKeyEvent;
class QMenu;

/// The commands of a four-view layout: their actions, their keys and their menu.
///
/// The actions' shortcuts are not known to Qt's table of shortcuts, where an application's equal
/// one would be ambiguous, so that neither does anything. A key that nobody takes up to the view
/// is looked up there first; only when it arrives as a key press all the same, it is ours.
class LayoutCommands : public QObject {
    Q_OBJECT

public:
    using Command = QtQuadView::LayoutCommand;

    explicit LayoutCommands(QtQuadView* view);

    QAction* action(Command command) const;
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    /// The view below the menu, or the one with the keyboard focus when a key asks, or else the
    /// current one; -1 when there is none.
    void maximizeRequested(int view);
    void refused(); ///< A command was given while the layout is locked.

private:
    void add(Command command, const QString& text, const QKeySequence& keys,
             const std::function<void()>& act);
    void requestMaximize();
    int viewWith(const QWidget* widget) const;
    QAction* actionOf(const QKeyEvent* event) const;
    bool belongsToApplication(const QKeySequence& keys, bool isDisabled) const;
    bool runKey(QAction* action, const QWidget* receiver);
    void askForMenu(const QContextMenuEvent* event);
    void showMenu(const QPoint& globalPosition);

    QtQuadView* m_view;
    std::array<QAction*, 3> m_actions{};
    QPointer<QMenu> m_menu;
    int m_menuTarget = -1;
    int m_keyTarget = -1;
};
