#include "Base/LayoutCommands.h"

#include <QtGui/QContextMenuEvent>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>
#include <QtWidgets/QShortcut>

#include <algorithm>
#include <utility>

namespace {

QKeySequence keysOf(const QKeyEvent* event) {
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    return {event->key() | static_cast<int>(modifiers)};
}

/// Waits for the key press that follows when no shortcut took the key, and is gone after it.
class KeyWatch : public QObject {
public:
    using Act = std::function<bool(const QWidget* receiver)>;

    KeyWatch(QObject* parent, const QKeySequence& keys, Act act)
        : QObject(parent), m_keys(keys), m_act(std::move(act)) {
        qApp->installEventFilter(this);
        deleteLater(); // Press and release follow at once, or not at all.
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        const bool isPress = event->type() == QEvent::KeyPress;
        if ((!isPress && event->type() != QEvent::KeyRelease) || !watched->isWidgetType())
            return false;
        qApp->removeEventFilter(this);
        const Act act = m_act; // What it does may be the view's end, and ours with it.
        return isPress && keysOf(static_cast<QKeyEvent*>(event)) == m_keys &&
               act(static_cast<const QWidget*>(watched));
    }

private:
    QKeySequence m_keys;
    Act m_act;
};

/// Waits for the release of the right button, and acts when the pointer was not moved meanwhile.
class ReleaseWatch : public QObject {
public:
    ReleaseWatch(QObject* parent, const QPoint& globalPosition, std::function<void()> act)
        : QObject(parent), m_position(globalPosition), m_act(std::move(act)) {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::MouseMove) {
            const QPoint way = static_cast<QMouseEvent*>(event)->globalPos() - m_position;
            if (way.manhattanLength() >= QApplication::startDragDistance())
                end();
        } else if (event->type() == QEvent::MouseButtonRelease) {
            // Not before whoever was pressed knows of the release.
            if (static_cast<QMouseEvent*>(event)->button() == Qt::RightButton)
                QMetaObject::invokeMethod(parent(), m_act, Qt::QueuedConnection);
            end();
        } else if (event->type() == QEvent::MouseButtonPress) {
            end();
        }
        return false;
    }

private:
    void end() {
        qApp->removeEventFilter(this);
        deleteLater();
    }

    QPoint m_position;
    std::function<void()> m_act;
};

} // namespace

LayoutCommands::LayoutCommands(QWidget* view, Layout layout)
    : QObject(view), m_view(view), m_layout(std::move(layout)) {
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    view->installEventFilter(this);
    add(Command::ToggleMaximized, tr("Maximise or restore the current view"),
        QKeySequence(tr("Ctrl+M")), [this] { requestMaximize(); });
    add(Command::Equalize, tr("All views alike"), QKeySequence(tr("Ctrl+E")), m_layout.equalize);
    add(Command::Undo, tr("Undo the last change of the layout"), QKeySequence(tr("Ctrl+Z")),
        m_layout.undo);
}

void LayoutCommands::add(Command command, const QString& text, const QKeySequence& keys,
                         const std::function<void()>& act) {
    auto* const action = new QAction(text, m_view);
    action->setShortcut(keys);
    // Not added to the view: so menus show the keys, and Qt leaves them to us.
    action->setShortcutContext(Qt::WidgetShortcut);
    m_actions[static_cast<std::size_t>(command)] = action;
    connect(action, &QAction::triggered, this, [this, act] { // Also by a call while disabled.
        if (m_layout.isLocked())
            m_layout.refuse();
        else
            act();
    });
}

QAction* LayoutCommands::action(Command command) const {
    return m_actions[static_cast<std::size_t>(command)];
}

void LayoutCommands::requestMaximize() {
    const int target = m_keyTarget < 0 && m_menu ? m_menuTarget : m_keyTarget;
    m_layout.maximize(target < 0 ? m_layout.currentView() : target);
}

int LayoutCommands::viewWith(const QWidget* widget) const {
    const auto holds = [widget](const QWidget* view) {
        return widget && (view == widget || view->isAncestorOf(widget));
    };
    const std::vector<QWidget*> views = m_layout.views();
    const auto found = std::find_if(views.begin(), views.end(), holds);
    return found == views.end() ? -1 : static_cast<int>(found - views.begin());
}

bool LayoutCommands::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* const keyEvent = static_cast<QKeyEvent*>(event);
        if (QAction* const action = actionOf(keyEvent))
            new KeyWatch(this, keysOf(keyEvent), [this, action](const QWidget* receiver) {
                return runKey(action, receiver);
            });
    }
    if (event->type() != QEvent::ContextMenu ||
        m_view->contextMenuPolicy() != Qt::ActionsContextMenu)
        return false;
    askForMenu(static_cast<QContextMenuEvent*>(event));
    return true;
}

// --- keys

// Qt does not take the key for an action that is disabled at present. It is the application's all
// the same: who expects its undo does not expect another layout.
QAction* LayoutCommands::actionOf(const QKeyEvent* event) const {
    const QKeySequence keys = keysOf(event);
    for (QAction* const action : m_actions)
        if (action->isVisible() && action->shortcuts().contains(keys) &&
            !belongsToApplication(keys, true))
            return action;
    return nullptr;
}

bool LayoutCommands::belongsToApplication(const QKeySequence& keys, bool isDisabled) const {
    const auto isFarReaching = [](Qt::ShortcutContext context) {
        return context == Qt::WindowShortcut || context == Qt::ApplicationShortcut;
    };
    const auto isWithin = [](const QWidget* widget) {
        return qobject_cast<const QMenu*>(widget) || widget->isVisible();
    };
    const auto isOfAction = [&](const QAction* action) {
        const auto widgets = action->associatedWidgets();
        return action->isEnabled() != isDisabled && action->shortcuts().contains(keys) &&
               isFarReaching(action->shortcutContext()) &&
               std::any_of(widgets.begin(), widgets.end(), isWithin);
    };
    const auto isOfShortcut = [&](const QShortcut* shortcut) {
        return shortcut->isEnabled() != isDisabled && shortcut->key() == keys &&
               isFarReaching(shortcut->context()) && isWithin(shortcut->parentWidget());
    };
    const QWidget* const window = m_view->window();
    auto actions = window->findChildren<QAction*>() + window->actions();
    for (const QWidget* const widget : window->findChildren<QWidget*>())
        actions += widget->actions(); // Which may be children of anybody.
    const auto shortcuts = window->findChildren<QShortcut*>();
    return std::any_of(actions.begin(), actions.end(), isOfAction) ||
           std::any_of(shortcuts.begin(), shortcuts.end(), isOfShortcut);
}

bool LayoutCommands::runKey(QAction* action, const QWidget* receiver) {
    if (receiver != m_view && !m_view->isAncestorOf(receiver))
        return false;
    if (!action->isEnabled() && !m_layout.isLocked())
        return false;
    const QPointer<LayoutCommands> guard(this);
    m_keyTarget = viewWith(receiver);
    action->trigger();
    if (guard)
        m_keyTarget = -1;
    return true;
}

// --- menu

// Some platforms ask for it with the press. What that press begins may be a drag.
void LayoutCommands::askForMenu(const QContextMenuEvent* event) {
    const QPoint position = event->globalPos();
    if (event->reason() == QContextMenuEvent::Mouse &&
        (QGuiApplication::mouseButtons() & Qt::RightButton))
        new ReleaseWatch(this, position, [this, position] { showMenu(position); });
    else
        showMenu(position);
}

void LayoutCommands::showMenu(const QPoint& globalPosition) {
    if (!m_view->isVisible())
        return;
    delete m_menu.data();
    m_menu = new QMenu(m_view);
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    for (QAction* const action : m_actions) {
        const QKeySequence keys = action->shortcut();
        action->setShortcutVisibleInContextMenu(!belongsToApplication(keys, false) &&
                                                !belongsToApplication(keys, true));
        m_menu->addAction(action);
    }
    m_menu->addSeparator();
    m_menu->addActions(m_view->actions()); // The application's own.
    m_menuTarget = viewWith(m_view->childAt(m_view->mapFromGlobal(globalPosition)));
    m_menu->popup(globalPosition);
}
