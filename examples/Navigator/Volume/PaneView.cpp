#include "Volume/PaneView.h"

#include "Volume/CornerText.h"

#include <QtGui/QPainter>

namespace {

constexpr int frameWidth = 2;
constexpr int titleMargin = 8;

} // namespace

PaneView::PaneView(const QString& title, const QColor& color, QWidget* parent)
    : QWidget(parent), m_title(title), m_color(color) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(title);
}

void PaneView::setCurrent(bool current) {
    m_isCurrent = current;
    update();
}

void PaneView::setPatientText(const QStringList& text) {
    m_patientText = text;
    update();
}

void PaneView::setTrackingText(const QStringList& text) {
    if (text == m_trackingText)
        return;
    m_trackingText = text;
    update();
}

void PaneView::setPositionText(const QString& text) {
    m_positionText = text;
    setAccessibleName(text.isEmpty() ? m_title : tr("%1, %2").arg(m_title, text));
    update();
}

void PaneView::focusInEvent(QFocusEvent*) {
    update();
    emit focused();
}

void PaneView::focusOutEvent(QFocusEvent*) {
    update();
}

// --- painting

int PaneView::titleHeight() const {
    return fontMetrics().height() + titleMargin;
}

QRect PaneView::pictureArea() const {
    return rect().adjusted(frameWidth, titleHeight(), -frameWidth, -frameWidth);
}

void PaneView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.setClipRect(pictureArea());
    painter.save();
    paintPicture(painter);
    painter.restore();
    paintCornerText(painter, pictureArea(), m_patientText, Qt::AlignRight,
                    widestLine(pictureArea()));
    paintTrackingText(painter, pictureArea(), m_trackingText);
    painter.setClipping(false);
    paintTitle(painter);
    if (!hasFocus())
        return;
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2 * frameWidth));
    painter.drawRect(rect());
}

void PaneView::paintTitle(QPainter& painter) const {
    const QRect bar(0, 0, width(), titleHeight());
    const QRect line = bar.adjusted(titleMargin, 0, -titleMargin, 0);
    painter.fillRect(bar, m_isCurrent ? m_color : m_color.darker(600));
    painter.setPen(m_isCurrent ? QColor(Qt::black) : m_color);
    const QFont plain = painter.font();
    QFont bold = plain;
    bold.setBold(true);
    painter.setFont(bold);
    const int room = line.width();
    const int titleWidth = painter.fontMetrics().horizontalAdvance(m_title);
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(m_title, Qt::ElideRight, room));
    painter.setFont(plain);
    const int left = room - titleWidth - titleMargin;
    painter.drawText(line, Qt::AlignRight | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(m_positionText, Qt::ElideLeft, left));
}
