#pragma once

#include "Images/PaneView.h"
#include "Images/SliceMove.h"
#include "Images/Volume.h"

#include <QtCore/QPointer>
#include <QtGui/QPixmap>

class CrossHair;

/// Shows the slice of one plane of the volume on which the cross-hair lies, in true proportions,
/// with lines where the two other planes cut it. Click and drag move the cross-hair; the wheel and
/// the keys step through the slices.
class PlaneView : public PaneView {
    Q_OBJECT

public:
    /// The cross-hair may go before the view does.
    PlaneView(Plane plane, CrossHair* crossHair, QWidget* parent = nullptr);

    Plane plane() const { return m_plane; }
    void setVolume(const Volume& volume); ///< The cross-hair is expected to fit it.

    /// The middle of the voxel's place in the picture, in the widget's pixels.
    QPoint pointOf(const Voxel& voxel) const;
    /// The voxel of the present slice at the point; the nearest one beside the picture.
    Voxel voxelAt(const QPoint& point) const;

protected:
    void paintPicture(QPainter& painter) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void follow();
    QRect pictureRect() const;
    void paintLine(QPainter& painter, std::size_t axis) const;

    const Plane m_plane;
    QPointer<CrossHair> m_crossHair;
    Volume m_volume;
    QPixmap m_pixmap;       ///< Null until the slice was painted at the present size.
    int m_pixmapSlice = -1; ///< What the pixmap shows.
    WheelNotches m_wheel;
};
