#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QRectF>

class QPainter;

namespace vlr {

/// Something that is drawn on top of the image of a vlr::ImageWidget: a contour, a crosshair.
///
///     class Crosshair : public vlr::PaintingOverlay {
///     public:
///         void moveTo(const QPointF& p) { m_position = p; emit overlayChanged(); }
///         void paint(QPainter* painter) override;
///         QRectF boundingRect() const override;
///     };
class VLR_GUI_EXPORT PaintingOverlay : public QObject {
    Q_OBJECT

public:
    explicit PaintingOverlay(QObject* parent = nullptr);
    ~PaintingOverlay() override;

    /// Draws in image coordinates: (0, 0) is the upper left corner of the first pixel. State the
    /// painter is left in has no effect on other overlays.
    virtual void paint(QPainter* painter) = 0;

    /// What paint() touches, in image coordinates, lines with their width. When the overlay changes
    /// only that is painted again, where it was and where it is. A null rectangle (default) stands
    /// for everything.
    virtual QRectF boundingRect() const;

signals:
    void overlayChanged(); ///< The overlay wants to be painted anew.
};

} // namespace vlr
