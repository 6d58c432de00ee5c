#pragma once

#include <QtCore/QString>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QWidget>

/// The stack of the modules' context widgets. It asks for no more than half of the screen either
/// way and puts a context widget that needs more into a scroll area, so that none, and least of all
/// one that is not seen, makes the window larger than the screen.
class ContextStack : public QStackedWidget {
    Q_OBJECT

public:
    explicit ContextStack(QWidget* parent);

    /// What stands in the stack for the widget: itself or its scroll area; null when it is not in.
    QWidget* pageOf(QWidget* widget) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;

private:
    QSize limit() const;
    void wrapLargePages();
    void wrap(int index);
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
