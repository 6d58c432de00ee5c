#include "Base/LayoutPictures.h"

#include "Base/QtQVSplitterFrame.h"
#include "Base/QuadViewGeometry.h"

#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QTransform>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace {

const QColor ink(46, 74, 112);
const QColor paper(255, 255, 255);

QPixmap blank(const QSize& size, qreal devicePixelRatio) {
    QPixmap pixmap(size * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

// An arrow head whose tip is at the origin and which points to the right.
QPainterPath arrowHead(qreal size) {
    QPainterPath path;
    path.lineTo(-size, -size);
    path.lineTo(-size, size);
    path.closeSubpath();
    return path;
}

// The views side by side; the turned picture shows them one above the other.
void drawViews(QPainter& painter, bool fillLeft, bool fillRight) {
    const QRectF left(-9, -7, 9, 14);
    const QRectF right(0, -7, 9, 14);
    painter.setPen(QPen(ink, 1.5));
    painter.setBrush(fillLeft ? ink : paper);
    painter.drawRect(left);
    painter.setBrush(fillRight ? ink : paper);
    painter.drawRect(right);
    painter.setPen(Qt::NoPen);
    if (fillLeft && fillRight) {
        painter.fillRect(QRectF(-1, -7.5, 2, 15), paper);
        return;
    }
    painter.setBrush(paper);
    const QPainterPath arrow = arrowHead(4);
    painter.drawPath(fillLeft ? arrow.translated(-2, 0)
                              : QTransform::fromScale(-1, 1).map(arrow).translated(2, 0));
}

/// Most of these pictures are never seen, and none before its screen is known.
class DrawnIcon : public QIconEngine {
public:
    DrawnIcon(const QSize& size, std::function<QPixmap(qreal)> draw)
        : m_size(size), m_draw(std::move(draw)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal ratio = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, pixmap(rect.size() * ratio, mode, state));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        // A painter does not shrink what it paints by a ratio below 1.
        const qreal ratio = std::max(1.0, qreal(size.width()) / m_size.width());
        if (m_pixmap.isNull() || !qFuzzyCompare(m_pixmap.devicePixelRatioF(), ratio))
            m_pixmap = m_draw(ratio);
        return size.width() < m_size.width()
                   ? m_pixmap.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                   : m_pixmap;
    }
    QIconEngine* clone() const override { return new DrawnIcon(*this); }

private:
    QSize m_size;
    std::function<QPixmap(qreal)> m_draw;
    QPixmap m_pixmap;
};

} // namespace

namespace vlr {

QIcon iconOf(const QSize& size, const std::function<QPixmap(qreal devicePixelRatio)>& draw) {
    return QIcon(new DrawnIcon(size, draw));
}

QPixmap expandPixmap(ExpandPicture picture, qreal devicePixelRatio) {
    QPixmap pixmap = blank({vlr::expandPictureSide, vlr::expandPictureSide}, devicePixelRatio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(vlr::expandPictureSide / 2.0, vlr::expandPictureSide / 2.0);
    using P = ExpandPicture;
    if (picture == P::Upper || picture == P::BothRows || picture == P::Lower)
        painter.rotate(90);
    drawViews(painter, picture != P::Right && picture != P::Lower,
              picture != P::Left && picture != P::Upper);
    return pixmap;
}

QPixmap layoutPixmap(const QuadViewGeometry::Extents& extents, const std::array<QColor, 4>& colors,
                     const QSize& size, qreal devicePixelRatio) {
    QPixmap pixmap = blank(size, devicePixelRatio);
    QPainter painter(&pixmap);
    QuadViewGeometry layout;
    if (!layout.setExtents(extents)) {
        QPen pen(ink, 2, Qt::DashLine);
        painter.setPen(pen);
        painter.drawRect(QRectF(QPointF(1, 1), QSizeF(size) - QSizeF(2, 2)));
        return pixmap;
    }
    painter.fillRect(QRect(QPoint(), size), ink);
    constexpr int halfGap = 1;
    const QuadViewGeometry::Rects views = layout.viewRects(size, halfGap);
    for (std::size_t i = 0; i < views.size(); ++i)
        if (views[i].isValid())
            painter.fillRect(views[i], colors[i]);
    return pixmap;
}

QPixmap touchHandlePixmap(int orientation, qreal devicePixelRatio) {
    QPixmap pixmap = blank({vlr::touchPictureSide, vlr::touchPictureSide}, devicePixelRatio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(vlr::touchPictureSide / 2.0, vlr::touchPictureSide / 2.0);
    painter.setPen(QPen(ink, 2));
    painter.setBrush(paper);
    painter.drawEllipse(QPointF(), vlr::touchPictureSide / 2.0 - 1.5,
                        vlr::touchPictureSide / 2.0 - 1.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(QPointF(), 3.0, 3.0);
    for (const int angle : {0, 90, 180, 270}) {
        const bool isAlongX = angle % 180 == 0;
        if ((orientation == QtQVSplitterFrame::Vertical && !isAlongX) ||
            (orientation == QtQVSplitterFrame::Horizontal && isAlongX))
            continue;
        painter.save();
        painter.rotate(angle);
        painter.drawPath(arrowHead(6).translated(15, 0));
        painter.restore();
    }
    return pixmap;
}

} // namespace vlr
