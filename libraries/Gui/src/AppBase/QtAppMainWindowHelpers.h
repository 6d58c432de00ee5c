#pragma once

#include <QtCore/QString>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QWidget>

class QStackedWidget;

/// The stack of the modules' context widgets. It asks for no more than half of the screen either
/// way and scrolls a context widget that needs more, so that none, and least of all one that is not
/// seen, makes the window larger than the screen.
class ContextArea : public QScrollArea {
    Q_OBJECT

public:
    explicit ContextArea(QWidget* parent);

    QStackedWidget* stack() const { return m_stack; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    QSize limit() const;

    QStackedWidget* const m_stack;
};

/// The row of request buttons below the context area: Quit, Screenshot, Configure and the
/// settings editor. In touch-screen mode the buttons are large enough for a finger.
class QtAppMainWindowButtons : public QWidget {
    Q_OBJECT

public:
    explicit QtAppMainWindowButtons(QWidget* parent);

    void setTouchScreenMode(bool on);

    QToolButton* const quit;
    QToolButton* const screenshot;
    QToolButton* const configure;
    QToolButton* const settingsEditor;

private:
    QToolButton* makeButton(const char* iconName, const QString& toolTip);
};
