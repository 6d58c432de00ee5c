#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QWidget>

/// The base of the widgets with which the user chooses the current module. A selector only asks:
/// it sends requests to the module list through its signals, and it is kept in step with the
/// list through its slots. AppBase::setModuleSelector() connects the two.
class VLR_GUI_EXPORT QtModuleSelector : public QWidget {
    Q_OBJECT

public:
    /// The side of the work area on which the selector stands.
    enum Position : int { Left = 0, Right = 1, Top = 2, Bottom = 3 };

    explicit QtModuleSelector(QtModuleSelector::Position position);
    ~QtModuleSelector() override;

    /// Asked by the main window when it places the selector.
    virtual Position getPosition();

signals:
    void activateModule(QString name);
    void activateModule(int index);
    void deactivateAllModules();
    void nextModule();
    void previousModule();
    void enableModule(QString name);
    void enableModule(int index);
    void disableModule(QString name);
    void disableModule(int index);

public slots:
    virtual void addModule(QString name, int index);
    virtual void moduleActivated(QString name, int index);
    virtual void moduleDeactivated(QString name, int index);
    virtual void moduleDisabled(QString name, int index);
    virtual void moduleEnabled(QString name, int index);

    /// Makes everything that can be pressed large enough for a finger (35 pixels), or as it was.
    /// The main window tells it.
    virtual void setTouchScreenMode(bool on);

protected:
    bool isTouchScreenMode() const { return m_touchScreenMode; }

private:
    bool m_touchScreenMode = false;
    const Position m_position;
};
