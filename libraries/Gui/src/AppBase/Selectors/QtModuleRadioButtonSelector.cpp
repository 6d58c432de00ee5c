#include "AppBase/Selectors/QtModuleRadioButtonSelector.h"

#include "AppBase/Selectors/ElidedButtons.h"

QtModuleRadioButtonSelector::~QtModuleRadioButtonSelector() = default;

QAbstractButton* QtModuleRadioButtonSelector::createButton(const QString& name, QWidget* parent) {
    setFocusPolicy(Qt::NoFocus);
    return new ElidedRadioButton(name, parent);
}
