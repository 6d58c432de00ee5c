#include "Plot.h"

#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

constexpr QSize pictureSize(640, 400);
const QRectF field(80, 40, 520, 310);

/// A logarithmic axis from the power of ten below the least value to that above the greatest.
struct Axis {
    explicit Axis(const std::vector<double>& values)
        : first(std::floor(std::log10(*std::min_element(values.begin(), values.end())))),
          last(std::max(first + 1,
                        std::ceil(std::log10(*std::max_element(values.begin(), values.end()))))) {}
    double share(double value) const { return (std::log10(value) - first) / (last - first); }

    double first;
    double last;
};

QString timeText(double nanoseconds) {
    if (nanoseconds < 1e3)
        return QStringLiteral("%1 ns").arg(nanoseconds);
    if (nanoseconds < 1e6)
        return QStringLiteral("%1 us").arg(nanoseconds / 1e3);
    if (nanoseconds < 1e9)
        return QStringLiteral("%1 ms").arg(nanoseconds / 1e6);
    return QStringLiteral("%1 s").arg(nanoseconds / 1e9);
}

void drawGrid(QPainter& painter, const Axis& x, const Axis& y) {
    painter.setPen(QColor(210, 210, 210));
    for (double power = x.first; power <= x.last; ++power) {
        const double at = field.left() + field.width() * (power - x.first) / (x.last - x.first);
        painter.drawLine(QPointF(at, field.top()), QPointF(at, field.bottom()));
    }
    for (double power = y.first; power <= y.last; ++power) {
        const double at = field.bottom() - field.height() * (power - y.first) / (y.last - y.first);
        painter.drawLine(QPointF(field.left(), at), QPointF(field.right(), at));
    }
    painter.setPen(Qt::black);
    for (double power = x.first; power <= x.last; ++power) {
        const double at = field.left() + field.width() * (power - x.first) / (x.last - x.first);
        painter.drawText(QRectF(at - 40, field.bottom() + 6, 80, 20), Qt::AlignCenter,
                         QString::number(std::pow(10, power), 'f', 0));
    }
    for (double power = y.first; power <= y.last; ++power) {
        const double at = field.bottom() - field.height() * (power - y.first) / (y.last - y.first);
        painter.drawText(QRectF(0, at - 10, field.left() - 8, 20),
                         Qt::AlignRight | Qt::AlignVCenter, timeText(std::pow(10, power)));
    }
}

} // namespace

void plotGrowth(const QString& path, const QString& title, const std::vector<double>& sizes,
                const std::vector<double>& nanoseconds, double exponent) {
    const Axis x(sizes);
    const Axis y(nanoseconds);
    QImage image(pictureSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawGrid(painter, x, y);
    painter.drawText(QRectF(0, 8, pictureSize.width(), 24), Qt::AlignCenter,
                     QStringLiteral("%1 (fitted power %2)").arg(title).arg(exponent, 0, 'f', 2));
    QPolygonF line;
    for (std::size_t i = 0; i < sizes.size(); ++i)
        line << QPointF(field.left() + field.width() * x.share(sizes[i]),
                        field.bottom() - field.height() * y.share(nanoseconds[i]));
    painter.setPen(QPen(QColor(46, 123, 214), 2));
    painter.drawPolyline(line);
    painter.setBrush(QColor(46, 123, 214));
    for (const QPointF& point : line)
        painter.drawEllipse(point, 4, 4);
    painter.end();
    if (!image.save(path, "png"))
        throw std::runtime_error((QStringLiteral("Cannot write ") + path).toStdString());
}
