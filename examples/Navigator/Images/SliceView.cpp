#include "Images/SliceView.h"

#include "AppBase/Icons.h"
#include "Base/QtMessageLine.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>

#include <algorithm>
#include <map>

namespace {

constexpr int margin = 10;
constexpr int iconSize = 48;
constexpr int messageWidth = 440;
constexpr int wheelNotch = 120;
const QColor textColor(235, 235, 235);
const QColor textBackground(0, 0, 0, 150);

} // namespace

SliceView::SliceView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void SliceView::showImage(const QImage& image, const QStringList& sliceText) {
    m_image = image;
    m_scaled = QPixmap();
    m_sliceText = sliceText;
    setAccessibleName(sliceText.join(QStringLiteral(", ")));
    setAccessibleDescription({});
    update();
}

void SliceView::showProblem(const QString& title, const QString& reason,
                            const QStringList& sliceText) {
    m_title = title;
    m_reason = reason;
    m_isProblem = true;
    showImage({}, sliceText);
    setAccessibleDescription(reason);
}

void SliceView::showNote(const QString& text) {
    m_title = text;
    m_reason.clear();
    m_isProblem = false;
    showImage({}, {});
}

void SliceView::setPatientText(const QStringList& text) {
    m_patientText = text;
    update();
}

// --- input

void SliceView::keyPressEvent(QKeyEvent* event) {
    static const std::map<int, SliceMove> moves{
        {Qt::Key_Home, SliceMove::First},      {Qt::Key_End, SliceMove::Last},
        {Qt::Key_PageUp, SliceMove::PageBack}, {Qt::Key_PageDown, SliceMove::PageForward},
        {Qt::Key_Up, SliceMove::Back},         {Qt::Key_Left, SliceMove::Back},
        {Qt::Key_Down, SliceMove::Forward},    {Qt::Key_Right, SliceMove::Forward},
    };
    const auto move = moves.find(event->key());
    if (move == moves.end())
        QWidget::keyPressEvent(event);
    else
        emit moveRequested(move->second);
}

void SliceView::wheelEvent(QWheelEvent* event) {
    // Touch pads send many small turns.
    m_wheelAngle += event->angleDelta().y();
    for (; m_wheelAngle >= wheelNotch; m_wheelAngle -= wheelNotch)
        emit moveRequested(SliceMove::Back);
    for (; m_wheelAngle <= -wheelNotch; m_wheelAngle += wheelNotch)
        emit moveRequested(SliceMove::Forward);
    event->accept();
}

void SliceView::focusInEvent(QFocusEvent*) {
    update();
}

void SliceView::focusOutEvent(QFocusEvent*) {
    update();
}

// --- painting

void SliceView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (m_image.isNull())
        paintMessage(painter);
    else
        paintImage(painter);
    paintCorner(painter, m_sliceText, Qt::AlignLeft);
    paintCorner(painter, m_patientText, Qt::AlignRight);
    if (hasFocus()) {
        painter.setPen(palette().color(QPalette::Highlight));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

QRect SliceView::imageRect() const {
    const QSize size = m_image.size().scaled(this->size(), Qt::KeepAspectRatio);
    QRect result(QPoint(), size.expandedTo({1, 1}));
    result.moveCenter(rect().center());
    return result;
}

void SliceView::paintImage(QPainter& painter) {
    const QRect target = imageRect();
    const QSize pixels = target.size() * devicePixelRatioF();
    if (m_scaled.size() != pixels) {
        m_scaled = QPixmap::fromImage(
            m_image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        m_scaled.setDevicePixelRatio(devicePixelRatioF());
    }
    painter.drawPixmap(target.topLeft(), m_scaled);
}

void SliceView::paintMessage(QPainter& painter) {
    const int width = std::max(1, std::min(messageWidth, rect().width() - 2 * margin));
    const int flags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap;
    QRect area(0, 0, width, height());
    area.moveLeft((rect().width() - width) / 2);
    area.setTop(height() / 2 - iconSize - margin);
    painter.setPen(textColor);
    if (m_isProblem) {
        const QPixmap icon = vlr::icon(QStringLiteral("Warning")).pixmap(iconSize, iconSize);
        painter.drawPixmap((this->width() - iconSize) / 2, area.top(), icon);
        area.setTop(area.top() + iconSize + margin);
    }
    const QFont plain = painter.font();
    QFont bold = plain;
    bold.setBold(true);
    painter.setFont(bold);
    QRect titleRect;
    painter.drawText(area, flags, vlr::breakable(m_title), &titleRect);
    painter.setFont(plain);
    area.setTop(titleRect.bottom() + margin);
    painter.drawText(area, flags, vlr::breakable(m_reason));
}

// At the top on the side that `side` says; one half of the width at most.
void SliceView::paintCorner(QPainter& painter, const QStringList& lines, Qt::Alignment side) {
    const QFontMetrics metrics = painter.fontMetrics();
    const int widest = width() / 2 - 2 * margin;
    QStringList shown;
    int textWidth = 0;
    for (const QString& line : lines) {
        shown << metrics.elidedText(line.simplified(), Qt::ElideMiddle, widest);
        textWidth = std::max(textWidth, metrics.horizontalAdvance(shown.last()));
    }
    if (textWidth == 0)
        return;
    QRect box(margin, margin, textWidth, metrics.lineSpacing() * shown.size());
    if (side == Qt::AlignRight)
        box.moveRight(width() - 1 - margin);
    painter.fillRect(box.adjusted(-4, -2, 4, 2), textBackground);
    painter.setPen(textColor);
    painter.drawText(box, static_cast<int>(side | Qt::AlignTop), shown.join(QLatin1Char('\n')));
}
