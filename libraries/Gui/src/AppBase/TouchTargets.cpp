#include "AppBase/TouchTargets.h"

#include <QtWidgets/QAbstractButton>

namespace vlr {

void sizeForFinger(QAbstractButton* button, bool on) {
    const int least = on ? fingerSize : 0;
    button->setMinimumHeight(least);
    if (button->text().isEmpty())
        button->setMinimumWidth(least);
}

} // namespace vlr
