#include "Volume/SliceView.h"

#include "Volume/CornerText.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>

#include <cstdlib>

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

void SliceView::setTrackingText(const QStringList& text) {
    if (text == m_trackingText)
        return;
    m_trackingText = text;
    update();
}

// --- input

void SliceView::keyPressEvent(QKeyEvent* event) {
    if (const auto move = sliceMoveOf(event->key()))
        emit moveRequested(*move);
    else
        QWidget::keyPressEvent(event);
}

void SliceView::wheelEvent(QWheelEvent* event) {
    const int notches = m_wheel.turn(*event);
    for (int i = 0; i < std::abs(notches); ++i)
        emit moveRequested(notches > 0 ? SliceMove::Forward : SliceMove::Back);
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
    if (!m_image.isNull())
        paintImage(painter);
    else if (m_isProblem)
        paintProblem(painter, rect(), m_title, m_reason);
    else
        paintNote(painter, rect(), m_title, m_reason);
    const int widest = widestOfTwoLines(rect());
    paintCornerText(painter, rect(), m_sliceText, Qt::AlignLeft, widest);
    paintCornerText(painter, rect(), m_patientText, Qt::AlignRight, widest);
    paintTrackingText(painter, rect(), m_trackingText);
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
