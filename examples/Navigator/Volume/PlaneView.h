#pragma once

#include "Volume/PaneView.h"
#include "Volume/SliceMove.h"
#include "Volume/Volume.h"

#include <QtCore/QPointer>
#include <QtGui/QPixmap>

#include <vector>

class CrossHair;

/// The tip of an instrument, as it is shown on top of a slice.
struct TipMark {
    QString name;
    QColor color;
    VolumePoint point;
};

/// Shows the slice of one plane of the volume on which the cross-hair lies, in true proportions,
/// with lines where the two other planes cut it, and the tips of instruments near it. Click and
/// drag move the cross-hair; the wheel and the keys step through the slices.
class PlaneView : public PaneView {
    Q_OBJECT

public:
    /// The cross-hair may go before the view does.
    PlaneView(Plane plane, CrossHair* crossHair, QWidget* parent = nullptr);

    Plane plane() const { return m_plane; }
    /// The cross-hair is expected to fit it. What was told of instruments is forgotten.
    void setVolume(const Volume& volume);

    /// The tips to show from now on. Those farther from the slice than 3 mm, or than half a slice
    /// where slices are thicker, and those beside the picture are not seen. Only what a tip covers
    /// is painted again.
    void setTipMarks(const std::vector<TipMark>& marks);

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
    /// A mark that is seen, in the widget's pixels.
    struct PlacedMark {
        QPoint point;
        QRect label;
        QString name;
        QColor color;
        QRect rect() const;
        bool operator==(const PlacedMark& other) const;
    };
    std::vector<PlacedMark> placedMarks() const;
    void paintMarks(QPainter& painter) const;
    bool isNear(const VolumePoint& point) const;
    QPointF placeOf(const VolumePoint& point) const;

    const Plane m_plane;
    QPointer<CrossHair> m_crossHair;
    Volume m_volume;
    QPixmap m_pixmap;       ///< Null until the slice was painted at the present size.
    int m_pixmapSlice = -1; ///< What the pixmap shows.
    std::vector<TipMark> m_marks;
    WheelNotches m_wheel;
};
