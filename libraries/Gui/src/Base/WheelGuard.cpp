#include "Base/WheelGuard.h"

#include <QtCore/QChildEvent>
#include <QtWidgets/QAbstractSlider>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QScrollBar>

namespace {

bool changesWithWheel(const QObject* object) {
    return qobject_cast<const QComboBox*>(object) ||
           qobject_cast<const QAbstractSpinBox*>(object) ||
           (qobject_cast<const QAbstractSlider*>(object) &&
            !qobject_cast<const QScrollBar*>(object));
}

} // namespace

WheelGuard::WheelGuard(QWidget* form) : QObject(form) {
    guard(form);
}

void WheelGuard::guard(QWidget* widget) {
    widget->installEventFilter(this);
    if (changesWithWheel(widget) && widget->focusPolicy() == Qt::WheelFocus)
        widget->setFocusPolicy(Qt::StrongFocus);
    for (QObject* child : widget->children())
        if (auto* inner = qobject_cast<QWidget*>(child); inner && !inner->isWindow())
            guard(inner);
}

bool WheelGuard::eventFilter(QObject* watched, QEvent* event) {
    // A widget that is added while it is being made is no combo box yet; it is one when it is
    // polished, which comes before it is shown. One that moves here is polished already.
    if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildPolished) {
        auto* const child = qobject_cast<QWidget*>(static_cast<QChildEvent*>(event)->child());
        if (child && !child->isWindow())
            guard(child);
    }
    if (event->type() == QEvent::Wheel && changesWithWheel(watched) &&
        !static_cast<QWidget*>(watched)->hasFocus()) {
        event->ignore(); // goes on to the parent
        return true;
    }
    return QObject::eventFilter(watched, event);
}
