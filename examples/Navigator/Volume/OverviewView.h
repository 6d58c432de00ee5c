#pragma once

#include "Volume/PaneView.h"
#include "Volume/SliceMove.h"
#include "Volume/Volume.h"

#include <QtCore/QPointer>
#include <QtGui/QTransform>

class CrossHair;

/// Shows how the three planes lie in the volume and in each other, seen from the front, with facts
/// about the volume. Dragging and the arrow keys turn it, the Home key turns it back; the wheel and
/// the page keys step the axial slices.
class OverviewView : public PaneView {
    Q_OBJECT

public:
    /// The cross-hair may go before the view does.
    explicit OverviewView(CrossHair* crossHair, QWidget* parent = nullptr);

    void setVolume(const Volume& volume); ///< The cross-hair is expected to fit it.

protected:
    void paintPicture(QPainter& painter) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    using Point = std::array<double, 3>; ///< In voxels, from the corner of the volume.
    /// A direction of the volume on the screen, and how far it leads away from the viewer.
    struct Direction {
        QPointF screen;
        double depth = 0;
    };
    struct Picture {
        QImage image;
        int slice = -1;
    };

    void follow();
    void turn(double azimuth, double elevation);
    void moveSlice(SliceMove move);
    Direction direction(std::size_t axis) const; ///< Of one voxel.
    double scale() const;
    QPointF project(const Point& point) const;
    QTransform pictureTransform(Plane plane) const;
    void paintPlanes(QPainter& painter);
    void paintPiece(QPainter& painter, Plane plane, const Point& from, const Point& to);
    void paintBox(QPainter& painter, bool isFront) const;
    QStringList facts() const;
    void paintFacts(QPainter& painter) const;

    QPointer<CrossHair> m_crossHair;
    Volume m_volume;
    std::array<Picture, allPlanes.size()> m_pictures;
    double m_azimuth;   ///< Degrees.
    double m_elevation; ///< Degrees.
    QPoint m_dragStart;
    WheelNotches m_wheel;
};
