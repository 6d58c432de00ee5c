#include "AppBase/QtTabBar.h"

QtTabBar::~QtTabBar() = default;

void QtTabBar::wheelEvent(QWheelEvent*) {}
