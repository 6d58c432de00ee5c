#include "AppBase/Dialogs/TouchDialogs.h"

#include "Base/TouchStyle.h"
#include "Base/TouchTargets.h"
#include "DataUtils/QtDataConfigurationWidget.h"

#include <QtCore/QEvent>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QTabBar>

#include <algorithm>

namespace vlr {

namespace {

bool isForm(const QWidget* widget) {
    return qobject_cast<const QDialog*>(widget) ||
           qobject_cast<const QtDataConfigurationWidget*>(widget);
}

bool isInForm(const QWidget* widget) {
    while (widget && !isForm(widget))
        widget = widget->isWindow() ? nullptr : widget->parentWidget();
    return widget;
}

// Its sub-controls have the size that the style gives them.
bool hasSubControls(const QWidget* widget) {
    return qobject_cast<const QAbstractSpinBox*>(widget) ||
           qobject_cast<const QComboBox*>(widget) || qobject_cast<const QTabBar*>(widget);
}

// The line edit of a spin box or a combo box has less height than what is around it, and the small
// buttons of a line edit are its own.
bool isPartOfField(const QWidget* widget) {
    const QObject* const parent = widget->parent();
    return qobject_cast<const QAbstractSpinBox*>(parent) ||
           qobject_cast<const QComboBox*>(parent) || qobject_cast<const QLineEdit*>(parent);
}

bool isForFinger(const QWidget* widget) {
    return hasSubControls(widget) || qobject_cast<const QAbstractButton*>(widget) ||
           qobject_cast<const QLineEdit*>(widget);
}

// Before it is on the screen: a window that changes its size while the window manager takes it
// over may end up in a corner, with the title beyond the edge.
void layOutAtOnce(QWidget* form) {
    for (QWidget* widget : form->findChildren<QWidget*>())
        widget->updateGeometry();
    if (!form->isWindow() || !form->layout())
        return;
    const bool isResized = form->testAttribute(Qt::WA_Resized);
    form->layout()->activate();
    if (!isResized)
        form->adjustSize();
    form->setAttribute(Qt::WA_Resized, isResized);
}

} // namespace

TouchDialogs::TouchDialogs(QObject* parent) : QObject(parent) {
    qApp->installEventFilter(this);
    for (QWidget* widget : QApplication::allWidgets())
        if (isForm(widget) && widget->isVisible())
            growAll(widget);
}

TouchDialogs::~TouchDialogs() {
    for (const Grown& grown : m_grown) {
        if (!grown.widget)
            continue;
        grown.widget->setMinimumSize(grown.minimum);
        if (grown.style) {
            grown.widget->setStyle(nullptr);
            delete grown.style;
        }
        if (isForm(grown.widget))
            markForFingers(grown.widget, false);
    }
}

bool TouchDialogs::eventFilter(QObject* watched, QEvent* event) {
    auto* const widget = event->type() == QEvent::Show ? qobject_cast<QWidget*>(watched) : nullptr;
    if (widget && isForm(widget))
        growAll(widget);
    else if (widget && isForFinger(widget) && isInForm(widget))
        grow(widget);
    return QObject::eventFilter(watched, event);
}

void TouchDialogs::growAll(QWidget* form) {
    m_grown.erase(std::remove_if(m_grown.begin(), m_grown.end(),
                                 [](const Grown& grown) { return !grown.widget; }),
                  m_grown.end());
    for (QWidget* widget : form->findChildren<QWidget*>())
        if (isForFinger(widget))
            grow(widget);
    if (isGrown(form))
        return;
    m_grown.push_back({form, form->minimumSize(), nullptr});
    markForFingers(form, true);
    layOutAtOnce(form);
}

void TouchDialogs::grow(QWidget* widget) {
    if (isPartOfField(widget) || isGrown(widget))
        return;
    Grown grown{widget, widget->minimumSize(), nullptr};
    const auto* const button = qobject_cast<QAbstractButton*>(widget);
    if (!qobject_cast<QTabBar*>(widget))
        widget->setMinimumHeight(std::max(grown.minimum.height(), fingerSize));
    if (button && button->text().isEmpty())
        widget->setMinimumWidth(std::max(grown.minimum.width(), fingerSize));
    if (hasSubControls(widget) && !widget->testAttribute(Qt::WA_SetStyle)) {
        const int before = widget->minimumSizeHint().width();
        grown.style = new TouchStyle;
        grown.style->setParent(widget); // A widget does not own its style.
        widget->setStyle(grown.style);
        // A style sheet may have a size of its own in mind, in which there is no room for it.
        if (!qobject_cast<QTabBar*>(widget) && widget->minimumSizeHint().width() <= before)
            widget->setMinimumWidth(std::max(grown.minimum.width(), before + 2 * fingerSize));
    }
    m_grown.push_back(grown);
}

bool TouchDialogs::isGrown(const QWidget* widget) const {
    return std::any_of(m_grown.begin(), m_grown.end(),
                       [&](const Grown& grown) { return grown.widget == widget; });
}

} // namespace vlr
