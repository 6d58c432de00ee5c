#pragma once

#include "vlrGuiExport.h"

#include <QtGui/QCursor>
#include <QtWidgets/QFrame>

/// The thin line that the user drags to divide two views, or the cross where four meet. It only
/// reports the pointer; who made it moves it.
///
/// Orientations: 0 a horizontal line (dragged up and down), 1 a vertical line (dragged left and
/// right), anything else the cross, kept as 2. The width of a line's middle is the setting
/// "Velora/Application/QtQuadView/SplitterWidth" (pixels, default 4, from 1 to 64).
class VLR_GUI_EXPORT QtQVSplitterFrame : public QFrame {
    Q_OBJECT

public:
    enum Orientation { Horizontal, Vertical, Cross };

    QtQVSplitterFrame(QWidget* parent, int orientation);

    int getOrientation() const { return m_orientation; }
    /// A locked line shows no drag cursor and answers a press with lockedPressed().
    void setLocked(bool locked);
    bool isLocked() const { return m_locked; }

    /// On the edge of the line that lies on the window's edge the pointer can stand still while
    /// the hand goes on; such a position says nothing about where it is dragged to.
    static bool isStuck(int orientation, const QPoint& position);

signals:
    void mmove(QPoint position); ///< Dragged to this place, in global coordinates.
    void mOnWidget(bool isOverWidget);
    void dragFinished();
    void lockedPressed(QPoint position); ///< Global coordinates.

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_pressed = false;
    bool m_over = false;
    int m_orientation;
    QCursor m_dragCursor;
    bool m_locked = false;
};
