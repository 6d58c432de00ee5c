#pragma once

#include <QtGui/QWheelEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

// What QTest has no function for.

namespace vlrTest {

/// Moves the pointer with the left button down, to a place in the widget that was pressed.
inline void dragTo(QWidget* pressed, const QPoint& place, const QPoint& global) {
    QMouseEvent move(QEvent::MouseMove, place, global, Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(pressed, &move);
}
inline void dragTo(QWidget* pressed, const QPoint& place) {
    dragTo(pressed, place, pressed->mapToGlobal(place));
}

/// Turns the wheel over the middle of the widget. Answers whether that was taken.
inline bool turnWheel(QWidget* widget, int angle) {
    const QPointF centre(widget->rect().center());
    QWheelEvent wheel(centre, widget->mapToGlobal(centre.toPoint()), {}, {0, angle}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &wheel);
    return wheel.isAccepted();
}

} // namespace vlrTest
