#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QToolButton>

class QVariantAnimation;

/// A layout button. While it is held, a ring fills for as long as the hand must stay; what is
/// pressed and left with the hand still down is abandoned.
class VLR_GUI_EXPORT QtPresetButton : public QToolButton {
    Q_OBJECT

public:
    explicit QtPresetButton(QWidget* parent);

    void startRing(int milliseconds);
    void stopRing();
    qreal ringShare() const { return m_share; } ///< From 0 to 1; 0 while no ring is shown.
    /// Whether the press that just ended was left instead of released.
    bool isAbandoned() const { return m_isAbandoned; }

protected:
    void mouseMoveEvent(QMouseEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setShare(qreal share);

    QVariantAnimation* m_ring;
    qreal m_share = 0;
    bool m_isAbandoned = false;
};
