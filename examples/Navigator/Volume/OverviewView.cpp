#include "Volume/OverviewView.h"

#include "Volume/CornerText.h"
#include "Volume/CrossHair.h"

#include <QtCore/QtMath>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double firstAzimuth = 35;
constexpr double firstElevation = 25;
constexpr double highest = 80;
constexpr double keyStep = 5;
constexpr double degreesPerPixel = 0.5;
const QColor color(130, 175, 255);

} // namespace

OverviewView::OverviewView(CrossHair* crossHair, QWidget* parent)
    : PaneView(tr("Overview"), color, parent), m_crossHair(crossHair), m_azimuth(firstAzimuth),
      m_elevation(firstElevation) {
    connect(crossHair, &CrossHair::positionChanged, this, &OverviewView::follow);
}

void OverviewView::setVolume(const Volume& volume) {
    m_volume = volume;
    m_pictures = {};
    follow();
}

void OverviewView::follow() {
    setAccessibleDescription(facts().join(QStringLiteral(", ")));
    update();
}

// --- input

void OverviewView::mousePressEvent(QMouseEvent* event) {
    m_dragStart = event->pos();
}

void OverviewView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton))
        return;
    const QPoint way = event->pos() - m_dragStart;
    m_dragStart = event->pos();
    turn(way.x() * degreesPerPixel, way.y() * degreesPerPixel);
}

void OverviewView::moveSlice(SliceMove move) {
    if (m_crossHair && !m_volume.isEmpty())
        m_crossHair->setSlice(Plane::Axial, movedSlice(move, m_crossHair->slice(Plane::Axial),
                                                       m_volume.count(Plane::Axial)));
}

void OverviewView::wheelEvent(QWheelEvent* event) {
    if (m_crossHair)
        m_crossHair->setSlice(Plane::Axial,
                              m_crossHair->slice(Plane::Axial) + m_wheel.turn(*event));
    event->accept();
}

void OverviewView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        return turn(-keyStep, 0);
    case Qt::Key_Right:
        return turn(keyStep, 0);
    case Qt::Key_Up:
        return turn(0, -keyStep);
    case Qt::Key_Down:
        return turn(0, keyStep);
    case Qt::Key_PageUp:
        return moveSlice(SliceMove::PageBack);
    case Qt::Key_PageDown:
        return moveSlice(SliceMove::PageForward);
    case Qt::Key_Home:
        return turn(firstAzimuth - m_azimuth, firstElevation - m_elevation);
    default:
        return QWidget::keyPressEvent(event);
    }
}

void OverviewView::turn(double azimuth, double elevation) {
    m_azimuth = std::fmod(m_azimuth + azimuth, 360);
    m_elevation = std::clamp(m_elevation + elevation, -highest, highest);
    update();
}

// --- projection: parallel, so that pictures of planes stay parallelograms

OverviewView::Direction OverviewView::direction(std::size_t axis) const {
    const double azimuth = qDegreesToRadians(m_azimuth);
    const double elevation = qDegreesToRadians(m_elevation);
    const double up = std::sin(elevation);
    const double away = std::cos(elevation);
    const double length = m_volume.spacing()[axis];
    if (axis == 2)
        return {QPointF(0, -away) * length, -up * length};
    // y leads to the back of the head, which is away from who looks at the face.
    const double right = axis == 0 ? std::cos(azimuth) : -std::sin(azimuth);
    const double back = axis == 0 ? std::sin(azimuth) : std::cos(azimuth);
    return {QPointF(right, -back * up) * length, back * away * length};
}

// The volume fits whichever way it is turned.
double OverviewView::scale() const {
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        square += std::pow(m_volume.size()[axis] * m_volume.spacing()[axis], 2);
    const QRect area = pictureArea();
    return std::max(1, std::min(area.width(), area.height())) / std::sqrt(square);
}

QPointF OverviewView::project(const Point& point) const {
    QPointF result;
    for (std::size_t axis = 0; axis < 3; ++axis)
        result += direction(axis).screen * (point[axis] - m_volume.size()[axis] / 2.0);
    return QRectF(pictureArea()).center() + result * scale();
}

// From the pixels of the plane's picture to the screen.
QTransform OverviewView::pictureTransform(Plane plane) const {
    const PlaneAxes axes = axesOf(plane);
    Point corner{};
    corner[axes.normal] = m_crossHair->slice(plane) + 0.5;
    if (axes.isUpward)
        corner[axes.vertical] = m_volume.size()[axes.vertical];
    const QPointF origin = project(corner);
    const QPointF right = direction(axes.right).screen * scale();
    const QPointF down = direction(axes.vertical).screen * (axes.isUpward ? -scale() : scale());
    return {right.x(), right.y(), down.x(), down.y(), origin.x(), origin.y()};
}

// --- painting

void OverviewView::paintPicture(QPainter& painter) {
    if (m_volume.isEmpty() || !m_crossHair)
        return;
    for (const Plane plane : allPlanes) {
        Picture& picture = m_pictures[static_cast<std::size_t>(plane)];
        if (picture.slice == m_crossHair->slice(plane))
            continue;
        picture.slice = m_crossHair->slice(plane);
        picture.image = m_volume.slice(plane, picture.slice).convertToFormat(QImage::Format_RGB32);
    }
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    paintBox(painter, false);
    paintPlanes(painter);
    paintBox(painter, true);
    paintFacts(painter);
}

// From the back to the front: what lies behind the axial plane, that plane, what lies before it;
// and in either half what lies behind the coronal plane, that plane, what lies before it.
void OverviewView::paintPlanes(QPainter& painter) {
    Point split;
    Point end;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        split[axis] = m_crossHair->position()[axis] + 0.5;
        end[axis] = m_volume.size()[axis];
    }
    const auto part = [&](std::size_t axis, bool isFar, Point& from, Point& to) {
        const bool isUpper = isFar == (direction(axis).depth > 0);
        from[axis] = isUpper ? split[axis] : 0;
        to[axis] = isUpper ? end[axis] : split[axis];
    };
    for (const bool isBelowFar : {true, false}) {
        Point from{};
        Point to = end;
        part(2, isBelowFar, from, to);
        for (const bool isFar : {true, false}) {
            Point quarterFrom = from;
            Point quarterTo = to;
            part(1, isFar, quarterFrom, quarterTo);
            paintPiece(painter, Plane::Sagittal, quarterFrom, quarterTo);
            if (isFar)
                paintPiece(painter, Plane::Coronal, from, to);
        }
        if (isBelowFar)
            paintPiece(painter, Plane::Axial, Point{}, end);
    }
}

// The part of the plane that lies between the two corners.
void OverviewView::paintPiece(QPainter& painter, Plane plane, const Point& from, const Point& to) {
    const PlaneAxes axes = axesOf(plane);
    const double height = m_volume.size()[axes.vertical];
    const double top = axes.isUpward ? height - to[axes.vertical] : from[axes.vertical];
    const double bottom = axes.isUpward ? height - from[axes.vertical] : to[axes.vertical];
    const QRectF piece(QPointF(from[axes.right], top), QPointF(to[axes.right], bottom));
    painter.save();
    painter.setTransform(pictureTransform(plane), true);
    painter.drawImage(piece, m_pictures[static_cast<std::size_t>(plane)].image, piece);
    QPen pen(planeColor(plane), 1.5);
    pen.setCosmetic(true);
    painter.setPen(pen);
    painter.drawRect(piece);
    painter.restore();
}

// The edges of the volume: those that the planes hide first, and the others when all is drawn.
void OverviewView::paintBox(QPainter& painter, bool isFront) const {
    painter.setPen(QPen(QColor(150, 150, 150, isFront ? 120 : 255), 1));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t second = (axis + 1) % 3;
        const std::size_t third = (axis + 2) % 3;
        for (int corner = 0; corner < 4; ++corner) {
            Point from{};
            from[second] = (corner & 1) ? m_volume.size()[second] : 0;
            from[third] = (corner & 2) ? m_volume.size()[third] : 0;
            const bool isSecondFar = (from[second] > 0) == (direction(second).depth > 0);
            const bool isThirdFar = (from[third] > 0) == (direction(third).depth > 0);
            if ((!isSecondFar && !isThirdFar) != isFront)
                continue;
            Point to = from;
            to[axis] = m_volume.size()[axis];
            painter.drawLine(project(from), project(to));
        }
    }
}

QStringList OverviewView::facts() const {
    if (m_volume.isEmpty() || !m_crossHair)
        return {};
    const Voxel size = m_volume.size();
    const Voxel voxel = m_crossHair->position();
    return {tr("x %1, y %2, z %3").arg(voxel[0] + 1).arg(voxel[1] + 1).arg(voxel[2] + 1),
            tr("grey value %1").arg(m_volume.grey(voxel)),
            tr("%1 x %2 x %3 voxels").arg(size[0]).arg(size[1]).arg(size[2]),
            tr("%1 bit, grey values %2 to %3")
                .arg(m_volume.bitsPerVoxel())
                .arg(m_volume.darkest())
                .arg(m_volume.brightest())};
}

// Half a number is worse than none: what is too wide for a small pane is left out.
void OverviewView::paintFacts(QPainter& painter) const {
    const int widest = widestLine(pictureArea());
    QStringList fitting;
    for (const QString& fact : facts())
        if (painter.fontMetrics().horizontalAdvance(fact) <= widest)
            fitting << fact;
    paintCornerText(painter, pictureArea(), fitting, Qt::AlignLeft | Qt::AlignBottom, widest);
}
