#include "Volume/PlaneView.h"

#include "Volume/CornerText.h"
#include "Volume/CrossHair.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr int markRadius = 6; // pixels
constexpr int labelMargin = 4;
constexpr double nearMillimetres = 3;

} // namespace

PlaneView::PlaneView(Plane plane, CrossHair* crossHair, QWidget* parent)
    : PaneView(planeName(plane), planeColor(plane), parent), m_plane(plane),
      m_crossHair(crossHair) {
    connect(crossHair, &CrossHair::positionChanged, this, &PlaneView::follow);
}

void PlaneView::setVolume(const Volume& volume) {
    m_volume = volume;
    m_pixmap = QPixmap();
    m_marks.clear(); // They were placed in the former volume.
    setTrackingText({});
    follow();
}

void PlaneView::follow() {
    if (m_volume.isEmpty() || !m_crossHair) {
        setPositionText({});
        return;
    }
    const int slice = m_crossHair->slice(m_plane);
    setPositionText(tr("slice %1 / %2").arg(slice + 1).arg(m_volume.count(m_plane)));
    const bool isGap = m_plane == Plane::Axial && m_volume.problem(slice) != CaError::nullError;
    setAccessibleDescription(isGap ? QString::fromStdString(m_volume.problem(slice).text())
                                   : QString());
}

// --- places

QRect PlaneView::pictureRect() const {
    const PlaneAxes axes = axesOf(m_plane);
    const auto length = [&](std::size_t axis) {
        return m_volume.size()[axis] * m_volume.spacing()[axis];
    };
    const QRect area = pictureArea();
    const double scale =
        std::min(area.width() / length(axes.right), area.height() / length(axes.vertical));
    const QSize size = (QSizeF(length(axes.right), length(axes.vertical)) * scale).toSize();
    QRect result(QPoint(), size.expandedTo({1, 1}));
    result.moveCenter(area.center());
    return result;
}

QPointF PlaneView::placeOf(const VolumePoint& point) const {
    const PlaneAxes axes = axesOf(m_plane);
    const QRect picture = pictureRect();
    const double right = (point[axes.right] + 0.5) / m_volume.size()[axes.right];
    const double vertical = (point[axes.vertical] + 0.5) / m_volume.size()[axes.vertical];
    const double down = axes.isUpward ? 1 - vertical : vertical;
    return {picture.left() + right * picture.width(), picture.top() + down * picture.height()};
}

QPoint PlaneView::pointOf(const Voxel& voxel) const {
    const QPointF place = placeOf({double(voxel[0]), double(voxel[1]), double(voxel[2])});
    return {static_cast<int>(place.x()), static_cast<int>(place.y())};
}

Voxel PlaneView::voxelAt(const QPoint& point) const {
    const PlaneAxes axes = axesOf(m_plane);
    const QRect picture = pictureRect();
    const auto index = [&](int pixel, int length, std::size_t axis) {
        const int inside = std::clamp(pixel, 0, length - 1);
        return static_cast<int>((inside + 0.5) * m_volume.size()[axis] / length);
    };
    Voxel voxel = m_crossHair ? m_crossHair->position() : Voxel{};
    voxel[axes.right] = index(point.x() - picture.left(), picture.width(), axes.right);
    const int down = index(point.y() - picture.top(), picture.height(), axes.vertical);
    voxel[axes.vertical] = axes.isUpward ? m_volume.size()[axes.vertical] - 1 - down : down;
    return voxel;
}

// --- input

void PlaneView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !m_volume.isEmpty() && m_crossHair)
        m_crossHair->setPosition(voxelAt(event->pos()));
}

void PlaneView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton && !m_volume.isEmpty() && m_crossHair)
        m_crossHair->setPosition(voxelAt(event->pos()));
}

void PlaneView::wheelEvent(QWheelEvent* event) {
    if (m_crossHair)
        m_crossHair->setSlice(m_plane, m_crossHair->slice(m_plane) + m_wheel.turn(*event));
    event->accept();
}

void PlaneView::keyPressEvent(QKeyEvent* event) {
    const auto move = sliceMoveOf(event->key());
    if (!move || !m_crossHair)
        return QWidget::keyPressEvent(event);
    const int from = m_crossHair->slice(m_plane);
    m_crossHair->setSlice(m_plane, movedSlice(*move, from, m_volume.count(m_plane)));
}

// --- tips

QRect PlaneView::PlacedMark::rect() const {
    constexpr int reach = markRadius + 2; // with the width of the line
    return label | QRect(point.x() - reach, point.y() - reach, 2 * reach + 1, 2 * reach + 1);
}

bool PlaneView::PlacedMark::operator==(const PlacedMark& other) const {
    return point == other.point && label == other.label && name == other.name &&
           color == other.color;
}

bool PlaneView::isNear(const VolumePoint& point) const {
    const std::size_t normal = axesOf(m_plane).normal;
    const double thickness = m_volume.spacing()[normal];
    const double distance = std::abs(point[normal] - m_crossHair->slice(m_plane)) * thickness;
    return distance <= std::max(nearMillimetres, thickness / 2);
}

std::vector<PlaneView::PlacedMark> PlaneView::placedMarks() const {
    std::vector<PlacedMark> placed;
    if (m_volume.isEmpty() || !m_crossHair)
        return placed;
    for (const TipMark& mark : m_marks) {
        const QPointF place = placeOf(mark.point);
        if (!isNear(mark.point) || !QRectF(pictureRect()).contains(place))
            continue;
        const QPoint point(static_cast<int>(place.x()), static_cast<int>(place.y()));
        const int distance = markRadius + labelMargin;
        QRect label(0, 0, fontMetrics().horizontalAdvance(mark.name) + 2 * labelMargin,
                    fontMetrics().height());
        label.moveCenter(point);
        label.moveLeft(point.x() + distance);
        const QRect area = pictureArea();
        if (label.right() > area.right())
            label.moveRight(point.x() - distance);
        if (label.left() < area.left()) // On neither side there is room.
            label.moveTopLeft(
                {std::max(area.left(), area.right() - label.width()), point.y() + distance});
        placed.push_back({point, label, mark.name, mark.color});
    }
    return placed;
}

void PlaneView::setTipMarks(const std::vector<TipMark>& marks) {
    const auto before = placedMarks();
    m_marks = marks;
    const auto now = placedMarks();
    if (now == before)
        return;
    QRegion region;
    for (const auto* each : {&before, &now})
        for (const PlacedMark& mark : *each)
            region += mark.rect();
    update(region);
}

void PlaneView::paintMarks(QPainter& painter) const {
    painter.setRenderHint(QPainter::Antialiasing);
    for (const PlacedMark& mark : placedMarks()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Qt::black, 4));
        painter.drawEllipse(mark.point, markRadius, markRadius);
        painter.setPen(QPen(mark.color, 2));
        painter.drawEllipse(mark.point, markRadius, markRadius);
        painter.drawPoint(mark.point);
        painter.fillRect(mark.label, QColor(0, 0, 0, 150));
        painter.drawText(mark.label, Qt::AlignCenter, mark.name);
    }
}

// --- painting

void PlaneView::paintPicture(QPainter& painter) {
    if (m_volume.isEmpty() || !m_crossHair)
        return;
    const int slice = m_crossHair->slice(m_plane);
    const QRect picture = pictureRect();
    const QSize pixels = picture.size() * devicePixelRatioF();
    if (m_pixmap.size() != pixels || m_pixmapSlice != slice) {
        m_pixmap = QPixmap::fromImage(
            m_volume.slice(m_plane, slice)
                .scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        m_pixmap.setDevicePixelRatio(devicePixelRatioF());
        m_pixmapSlice = slice;
    }
    painter.drawPixmap(picture.topLeft(), m_pixmap);
    if (!accessibleDescription().isEmpty())
        return paintProblem(painter, pictureArea(), tr("This slice cannot be read"),
                            accessibleDescription());
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (axis != axesOf(m_plane).normal)
            paintLine(painter, axis);
    paintMarks(painter);
}

// Where the plane across the axis cuts this one. Around the cross-hair the picture stays free.
void PlaneView::paintLine(QPainter& painter, std::size_t axis) const {
    constexpr int gap = 8;
    const QPoint point = pointOf(m_crossHair->position());
    const QRect picture = pictureRect();
    for (const Plane plane : allPlanes)
        if (axesOf(plane).normal == axis)
            painter.setPen(planeColor(plane));
    if (axis == axesOf(m_plane).right) {
        painter.drawLine(point.x(), picture.top(), point.x(), point.y() - gap);
        painter.drawLine(point.x(), point.y() + gap, point.x(), picture.bottom());
    } else {
        painter.drawLine(picture.left(), point.y(), point.x() - gap, point.y());
        painter.drawLine(point.x() + gap, point.y(), picture.right(), point.y());
    }
}
