#include "Volume/CornerText.h"

#include "Base/Icons.h"
#include "Base/QtMessageLine.h"

#include <QtGui/QPainter>

#include <algorithm>

namespace {

constexpr int margin = 10;
constexpr int iconSize = 48;
constexpr int messageWidth = 440;
const QColor textColor(235, 235, 235);
const QColor textBackground(0, 0, 0, 150);
const QColor trackingColor(255, 190, 60);

void paintMessage(QPainter& painter, const QRect& area, const QString& title,
                  const QString& reason) {
    const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;
    painter.setPen(textColor);
    const QFont plain = painter.font();
    QFont bold = plain;
    bold.setBold(true);
    painter.setFont(bold);
    QRect titleRect;
    painter.drawText(area, flags, vlr::breakable(title), &titleRect);
    painter.setFont(plain);
    QRect rest = area;
    rest.setTop(titleRect.bottom() + margin);
    painter.drawText(rest, flags, vlr::breakable(reason));
}

// Where the message begins: a little above the middle.
QRect messageArea(const QRect& area) {
    const int width = std::max(1, std::min(messageWidth, area.width() - 2 * margin));
    QRect result(0, 0, width, area.height());
    result.moveCenter(area.center());
    result.setTop(area.center().y() - iconSize - margin);
    return result;
}

} // namespace

void paintNote(QPainter& painter, const QRect& area, const QString& title, const QString& reason) {
    paintMessage(painter, messageArea(area), title, reason);
}

void paintProblem(QPainter& painter, const QRect& area, const QString& title,
                  const QString& reason) {
    const QPixmap icon = vlr::icon(QStringLiteral("Warning")).pixmap(iconSize, iconSize);
    QRect place = messageArea(area);
    painter.drawPixmap(place.center().x() - iconSize / 2, place.top(), icon);
    place.setTop(place.top() + iconSize + margin);
    paintMessage(painter, place, title, reason);
}

int widestLine(const QRect& area) {
    return area.width() - 2 * margin;
}

int widestOfTwoLines(const QRect& area) {
    return area.width() / 2 - 2 * margin;
}

void paintCornerText(QPainter& painter, const QRect& area, const QStringList& lines,
                     Qt::Alignment corner, int widest, const QColor& color) {
    const QFontMetrics metrics = painter.fontMetrics();
    QStringList shown;
    int textWidth = 0;
    for (const QString& line : lines) {
        shown << metrics.elidedText(line.simplified(), Qt::ElideMiddle, widest);
        textWidth = std::max(textWidth, metrics.horizontalAdvance(shown.last()));
    }
    if (textWidth == 0)
        return;
    QRect box(area.left() + margin, area.top() + margin, textWidth,
              metrics.lineSpacing() * shown.size());
    if (corner & Qt::AlignRight)
        box.moveRight(area.right() - margin);
    if (corner & Qt::AlignBottom)
        box.moveBottom(area.bottom() - margin);
    painter.fillRect(box.adjusted(-4, -2, 4, 2), textBackground);
    painter.setPen(color);
    const auto alignment = static_cast<int>((corner & Qt::AlignHorizontal_Mask) | Qt::AlignTop);
    painter.drawText(box, alignment | Qt::TextDontClip, // A "g" may reach below the last line.
                     shown.join(QLatin1Char('\n')));
}

void paintTrackingText(QPainter& painter, const QRect& area, const QStringList& lines) {
    const QFont plain = painter.font();
    QFont bold = plain;
    bold.setBold(true);
    painter.setFont(bold);
    paintCornerText(painter, area, lines, Qt::AlignLeft | Qt::AlignBottom, widestLine(area),
                    trackingColor);
    painter.setFont(plain);
}
