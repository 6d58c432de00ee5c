#pragma once

#include "AppBase/MainWindowConfig.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QWidget>

/// A small widget for trying out the main window by hand: buttons for its layout directions, a
/// check box for touch-screen mode, and a value for the size of the control area. It works on
/// the application object that runs.
class VLR_GUI_EXPORT AppBaseImplTest : public QWidget {
    Q_OBJECT

public:
    explicit AppBaseImplTest(QWidget* parent = nullptr);

public slots:
    void settb0();
    void setbt0();
    void setlr0();
    void setrl0();
    void settb1();
    void setbt1();
    void setlr1();
    void setrl1();
    void settm(bool on);

private:
    void setMain(MainWindowConfig::LayoutDirections direction);
    void setSecondary(MainWindowConfig::LayoutDirections direction);
};
