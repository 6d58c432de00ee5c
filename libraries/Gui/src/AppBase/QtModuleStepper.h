#pragma once

#include "AppBase/QtModuleSelector.h"

class QPushButton;
class QtElidedLabel;

/// Chooses the module by going one step back or forth; a label names the current one.
class VLR_GUI_EXPORT QtModuleStepper : public QtModuleSelector {
    Q_OBJECT

public:
    explicit QtModuleStepper(QtModuleSelector::Position position);
    ~QtModuleStepper() override;

public slots:
    void addModule(QString name, int index) override;
    void moduleActivated(QString name, int index) override;
    void moduleDeactivated(QString name, int index) override;

private:
    QPushButton* m_previous;
    QtElidedLabel* m_label;
    QPushButton* m_next;
    int m_highestIndex = -1;
};
