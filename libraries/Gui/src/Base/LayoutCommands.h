#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <array>
#include <functional>
#include <vector>

class QAction;
class QContextMenuEvent;
class QKeyEvent;
class QMenu;
class QPoint;
class QWidget;

/// The commands of a four-view layout: their actions, their keys and their menu.
///
/// The actions' shortcuts are not known to Qt's table of shortcuts, where an application's equal
/// one would be ambiguous, so that neither does anything. A key that nobody takes up to the view
/// is looked up there first; only when it arrives as a key press all the same, it is ours.
class LayoutCommands : public QObject {
    Q_OBJECT

public:
    enum class Command { ToggleMaximized, Equalize, Undo };

    /// What the commands ask of the layout.
    struct Layout {
        std::function<std::vector<QWidget*>()> views;
        std::function<bool()> isLocked;
        std::function<int()> currentView; ///< -1 when there is none.
        /// The view below the menu, or the one with the keyboard focus when a key asks, or else
        /// the current one; -1 when there is none.
        std::function<void(int)> maximize;
        std::function<void()> equalize;
        std::function<void()> undo;
        std::function<void()> refuse; ///< A command was given while the layout is locked.
    };

    /// The parent is the widget whose keys and context menu these are.
    LayoutCommands(QWidget* view, Layout layout);

    QAction* action(Command command) const;
    bool eventFilter(QObject* watched, QEvent* event) override;

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

    QWidget* m_view;
    const Layout m_layout;
    std::array<QAction*, 3> m_actions{};
    QPointer<QMenu> m_menu;
    int m_menuTarget = -1;
    int m_keyTarget = -1;
};
