#include "AppBase/QtAppMainWindowHelpers.h"

#include "AppBase/Icons.h"

#include <QtWidgets/QHBoxLayout>

namespace {

constexpr int mouseIconSize = 28;
constexpr int touchIconSize = 48;

} // namespace

QtAppMainWindowButtons::QtAppMainWindowButtons(QWidget* parent)
    : QWidget(parent), quit(makeButton("Exit", tr("Quit Application"))),
      screenshot(makeButton("Screenshot", tr("Create Screenshot"))),
      configure(makeButton("Configure", tr("Application Configuration"))),
      settingsEditor(
          makeButton("ConfigureFileEditor", tr("Launch Application Configuration File Editor"))) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(quit);
    row->addStretch();
    row->addWidget(screenshot);
    row->addWidget(configure);
    row->addWidget(settingsEditor);
    setTouchScreenMode(false);
}

QToolButton* QtAppMainWindowButtons::makeButton(const char* iconName, const QString& toolTip) {
    auto* button = new QToolButton(this);
    button->setObjectName(QString::fromLatin1(iconName));
    button->setIcon(vlr::icon(QString::fromLatin1(iconName)));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

void QtAppMainWindowButtons::setTouchScreenMode(bool on) {
    const int size = on ? touchIconSize : mouseIconSize;
    for (QToolButton* button : {quit, screenshot, configure, settingsEditor})
        button->setIconSize(QSize(size, size));
}
