#pragma once

#include <QtCore/QString>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QWidget>

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
