#pragma once

#include "AppBase/QtModuleSelector.h"

class QPushButton;
class QtElidedLabel;

/// Chooses the module by going one step back or forth; a label names the current one. A stepper
/// at the side is as wide as the longest name needs, 220 pixels at most, so that going from module
/// to module moves nothing; what is longer is shortened, and the tool tip has the whole of it.
class VLR_GUI_EXPORT QtModuleStepper : public QtModuleSelector {
    Q_OBJECT

public:
    explicit QtModuleStepper(QtModuleSelector::Position position);
    ~QtModuleStepper() override;

public slots:
    void addModule(QString name, int index) override;
    void moduleActivated(QString name, int index) override;
    void moduleDeactivated(QString name, int index) override;
    void setTouchScreenMode(bool on) override;

protected:
    void changeEvent(QEvent* event) override;

private:
    static QString noModule(); ///< What stands in the label then.
    void makeRoomFor(const QString& text);
    void fitLabel();

    const bool m_vertical;
    QStringList m_texts; ///< That the label may have to show.
    QPushButton* m_previous;
    QtElidedLabel* m_label;
    QPushButton* m_next;
    int m_highestIndex = -1;
};
