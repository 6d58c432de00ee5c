#pragma once

#include "AppBase/Selectors/QtModuleButtonSelector.h"

/// Chooses the module by a radio button for each. The radio buttons have the keyboard behaviour
/// of their kind: Tab to reach them, the arrow keys to choose.
class VLR_GUI_EXPORT QtModuleRadioButtonSelector : public QtModuleButtonSelector {
    Q_OBJECT

public:
    using QtModuleButtonSelector::QtModuleButtonSelector;
    ~QtModuleRadioButtonSelector() override;

protected:
    QAbstractButton* createButton(const QString& name, QWidget* parent) override;
};
