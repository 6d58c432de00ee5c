#include "Base/QtDraggerButton.h"

#include "Base/QtQVSplitterFrame.h"

#include <QtGui/QMouseEvent>

QtDraggerButton::QtDraggerButton(QWidget* parent, int orientation)
    : QPushButton(parent), m_orientation(orientation) {
    // The hand is at the splitter, the keyboard stays with what is worked on.
    setFocusPolicy(Qt::NoFocus);
}

// Not handed to the base class, for which a finger outside the button is no longer a press.
void QtDraggerButton::mouseMoveEvent(QMouseEvent* event) {
    if (isDown() && !QtQVSplitterFrame::isStuck(m_orientation, event->pos()))
        emit mouseMoved(event->globalPos());
}
