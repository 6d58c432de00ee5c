#include "Base/TouchTargets.h"

#include <QtCore/QEvent>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProxyStyle>
#include <QtWidgets/QTabBar>

namespace vlr {

namespace {

// The line edit of a spin box or a combo box has less height than what is around it.
bool isPartOfField(const QWidget* widget) {
    return qobject_cast<QAbstractSpinBox*>(widget->parent()) ||
           qobject_cast<QComboBox*>(widget->parent());
}

// A tab bar has no least size for its tabs, so their style has.
class TouchTabs : public QProxyStyle {
public:
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override {
        const QSize own = QProxyStyle::sizeFromContents(type, option, size, widget);
        return type == CT_TabBarTab ? own.expandedTo({fingerSize, fingerSize}) : own;
    }
};

void sizeForFinger(QTabBar* bar) {
    if (dynamic_cast<TouchTabs*>(bar->style()))
        return;
    auto* const style = new TouchTabs;
    style->setParent(bar); // A widget does not own its style.
    bar->setStyle(style);
}

} // namespace

void sizeForFinger(QAbstractButton* button, bool on) {
    const int least = on ? fingerSize : 0;
    button->setMinimumHeight(least);
    if (button->text().isEmpty())
        button->setMinimumWidth(least);
}

bool TouchDialogs::eventFilter(QObject* watched, QEvent* event) {
    const auto* const dialog =
        event->type() == QEvent::Show ? qobject_cast<QDialog*>(watched) : nullptr;
    if (dialog) {
        for (QAbstractButton* button : dialog->findChildren<QAbstractButton*>())
            if (!qobject_cast<QLineEdit*>(button->parent())) // Its own small buttons.
                sizeForFinger(button, true);
        for (QTabBar* bar : dialog->findChildren<QTabBar*>())
            sizeForFinger(bar);
        for (QWidget* field : dialog->findChildren<QWidget*>())
            if ((qobject_cast<QLineEdit*>(field) && !isPartOfField(field)) ||
                qobject_cast<QComboBox*>(field) || qobject_cast<QAbstractSpinBox*>(field))
                field->setMinimumHeight(fingerSize);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace vlr
