#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QToolButton>

class QVariantAnimation;

/// A layout button. While it is held, a ring fills for as long as the hand must stay; what is
/// pressed and left with the hand still down is abandoned. It shrinks down to a finger's size
/// (vlr::fingerSize) where there is little room, and its picture with it.
class VLR_GUI_EXPORT QtPresetButton : public QToolButton {
    Q_OBJECT

public:
    /// What its picture is drawn for, in pixels; on a smaller button it is shown smaller.
    static constexpr QSize pictureSize{46, 46};

    explicit QtPresetButton(QWidget* parent);

    void startRing(int milliseconds);
    void stopRing();
    qreal ringShare() const { return m_share; } ///< From 0 to 1; 0 while no ring is shown.
    /// Whether the press that just ended was left instead of released.
    bool isAbandoned() const { return m_isAbandoned; }
    /// Ends the press without released(). The hand that is still down presses no more.
    void abandonPress();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void setShare(qreal share);

    QVariantAnimation* m_ring;
    qreal m_share = 0;
    bool m_isAbandoned = false;
    bool m_ignoresHand = false; ///< Until it presses anew.
};
