#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QTabBar>

/// A tab bar on which the mouse wheel never switches tabs.
class VLR_GUI_EXPORT QtTabBar : public QTabBar {
    Q_OBJECT

public:
    using QTabBar::QTabBar;
    ~QtTabBar() override;

protected:
    void wheelEvent(QWheelEvent* event) override;
};
