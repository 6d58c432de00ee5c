#include "Base/TouchTargets.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QTreeView>

namespace vlr {

namespace {

constexpr const char* forFingers = "vlrForFingers";

} // namespace

void sizeForFinger(QAbstractButton* button, bool on) {
    const int least = on ? fingerSize : 0;
    button->setMinimumHeight(least);
    if (button->text().isEmpty())
        button->setMinimumWidth(least);
}

bool isForFingers(const QWidget* widget) {
    return widget && widget->window()->property(forFingers).toBool();
}

// A tree measures its rows once.
void markForFingers(QWidget* dialog, bool on) {
    dialog->setProperty(forFingers, on ? QVariant(true) : QVariant());
    for (QTreeView* tree : dialog->findChildren<QTreeView*>())
        tree->doItemsLayout();
}

} // namespace vlr
