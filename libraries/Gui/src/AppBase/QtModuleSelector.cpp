#include "AppBase/QtModuleSelector.h"

#include "Base/TouchTargets.h"

#include <QtWidgets/QAbstractButton>

QtModuleSelector::QtModuleSelector(QtModuleSelector::Position position) : m_position(position) {}

QtModuleSelector::~QtModuleSelector() = default;

QtModuleSelector::Position QtModuleSelector::getPosition() {
    return m_position;
}

void QtModuleSelector::addModule(QString, int) {}
void QtModuleSelector::moduleActivated(QString, int) {}
void QtModuleSelector::moduleDeactivated(QString, int) {}
void QtModuleSelector::moduleDisabled(QString, int) {}
void QtModuleSelector::moduleEnabled(QString, int) {}

void QtModuleSelector::setTouchScreenMode(bool on) {
    m_touchScreenMode = on;
    for (QAbstractButton* button : findChildren<QAbstractButton*>())
        vlr::sizeForFinger(button, on);
}
