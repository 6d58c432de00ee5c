#include "Base/QtQVSplitterFrame.h"

#include "Base/QuadViewSettings.h"

#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

QtQVSplitterFrame::QtQVSplitterFrame(QWidget* parent, int orientation)
    : QFrame(parent),
      m_orientation(orientation == Horizontal || orientation == Vertical ? orientation : Cross) {
    switch (m_orientation) {
    case Vertical:
        setFrameStyle(int(QFrame::VLine) | QFrame::Raised);
        setMidLineWidth(vlr::quadView::splitterWidth.get());
        m_dragCursor = QCursor(Qt::SizeHorCursor);
        break;
    case Horizontal:
        setFrameStyle(int(QFrame::HLine) | QFrame::Raised);
        setMidLineWidth(vlr::quadView::splitterWidth.get());
        m_dragCursor = QCursor(Qt::SizeVerCursor);
        break;
    default:
        setFrameStyle(int(QFrame::Box) | QFrame::Raised);
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

// A raised line as the style would draw it, of rectangles: its own way, point by point, takes
// longer than painting a whole pane, and every step of a drag paints several lines.
void QtQVSplitterFrame::paintEvent(QPaintEvent* event) {
    if (m_orientation == Cross)
        return QFrame::paintEvent(event);
    QPainter painter(this);
    const int edge = lineWidth();
    const int thickness = 2 * edge + midLineWidth();
    const bool isUpright = m_orientation == Vertical;
    const QRect bar = isUpright ? QRect((width() - thickness) / 2, 0, thickness, height())
                                : QRect(0, (height() - thickness) / 2, width(), thickness);
    painter.fillRect(bar, palette().mid());
    painter.fillRect(isUpright ? QRect(bar.left(), 0, edge, height())
                               : QRect(0, bar.top(), width(), edge),
                     palette().light());
    painter.fillRect(isUpright ? QRect(bar.right() + 1 - edge, 0, edge, height())
                               : QRect(0, bar.bottom() + 1 - edge, width(), edge),
                     palette().dark());
}

void QtQVSplitterFrame::leaveEvent(QEvent*) {
    if (!m_over)
        return;
    m_over = false;
    emit mOnWidget(false);
}
