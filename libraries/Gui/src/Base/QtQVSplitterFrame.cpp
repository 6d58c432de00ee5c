#include "Base/QtQVSplitterFrame.h"

#include "Settings/vlrSettings.h"

#include <QtGui/QMouseEvent>

namespace {

constexpr int maximumWidth = 100;

int splitterWidth() {
    return vlr::Settings::get(QStringLiteral("Velora/Application/QtQuadView/SplitterWidth"), 4, 0,
                              maximumWidth);
}

} // namespace

QtQVSplitterFrame::QtQVSplitterFrame(QWidget* parent, int orientation)
    : QFrame(parent),
      m_orientation(orientation == Horizontal || orientation == Vertical ? orientation : Cross) {
    switch (m_orientation) {
    case Vertical:
        setFrameStyle(QFrame::VLine | QFrame::Raised);
        setMidLineWidth(splitterWidth());
        m_dragCursor = QCursor(Qt::SizeHorCursor);
        break;
    case Horizontal:
        setFrameStyle(QFrame::HLine | QFrame::Raised);
        setMidLineWidth(splitterWidth());
        m_dragCursor = QCursor(Qt::SizeVerCursor);
        break;
    default:
        setFrameStyle(QFrame::Box | QFrame::Raised);
        m_dragCursor = QCursor(Qt::SizeAllCursor);
    }
    setCursor(m_dragCursor);
}

void QtQVSplitterFrame::setLocked(bool locked) {
    m_locked = locked;
    if (locked)
        unsetCursor();
    else
        setCursor(m_dragCursor);
}

bool QtQVSplitterFrame::isStuck(int orientation, const QPoint& position) {
    return (orientation == Horizontal && position.y() == 0) ||
           (orientation == Vertical && position.x() == 0);
}

void QtQVSplitterFrame::mousePressEvent(QMouseEvent* event) {
    m_pressed = true;
    if (m_locked)
        emit lockedPressed(event->globalPos());
}

void QtQVSplitterFrame::mouseReleaseEvent(QMouseEvent*) {
    m_pressed = false;
    emit dragFinished();
}

void QtQVSplitterFrame::mouseMoveEvent(QMouseEvent* event) {
    if (m_pressed && !isStuck(m_orientation, event->pos()))
        emit mmove(event->globalPos());
}

void QtQVSplitterFrame::enterEvent(QEvent*) {
    if (m_over)
        return;
    m_over = true;
    emit mOnWidget(true);
}

void QtQVSplitterFrame::leaveEvent(QEvent*) {
    if (!m_over)
        return;
    m_over = false;
    emit mOnWidget(false);
}
