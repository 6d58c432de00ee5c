#include "AppBase/Selectors/QtTabBar.h"

QtTabBar::~QtTabBar() = default;

void QtTabBar::wheelEvent(QWheelEvent*) {}
