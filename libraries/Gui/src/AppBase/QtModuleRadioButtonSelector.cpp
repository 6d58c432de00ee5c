#include "AppBase/QtModuleRadioButtonSelector.h"

#include "AppBase/ElidedButtons.h"

QtModuleRadioButtonSelector::~QtModuleRadioButtonSelector() = default;

QAbstractButton* QtModuleRadioButtonSelector::createButton(const QString& name, QWidget* parent) {
    setFocusPolicy(Qt::NoFocus);
    return new ElidedRadioButton(name, parent);
}
