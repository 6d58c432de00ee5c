#include "AppBase/QtPresetButton.h"

#include "Base/TouchTargets.h"

#include <QtCore/QVariantAnimation>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

#include <algorithm>

namespace {

constexpr QSize buttonSize(58, 58);
constexpr qreal ringWidth = 5;
const QColor ringColor(214, 92, 0);
const QColor ringGround(255, 255, 255, 200);

constexpr int sixteenths = 16;
constexpr int fullCircle = 360 * sixteenths;
constexpr int top = 90 * sixteenths;

} // namespace

QtPresetButton::QtPresetButton(QWidget* parent)
    : QToolButton(parent), m_ring(new QVariantAnimation(this)) {
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Maximum);
    resize(buttonSize);
    setIconSize(pictureSize);
    setFocusPolicy(Qt::TabFocus);
    // First of all who hear it.
    connect(this, &QToolButton::pressed, this, [this] { m_isAbandoned = false; });
    m_ring->setStartValue(0.0);
    m_ring->setEndValue(1.0);
    connect(m_ring, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setShare(value.toReal()); });
}

void QtPresetButton::setShare(qreal share) {
    m_share = share;
    update();
}

void QtPresetButton::startRing(int milliseconds) {
    m_ring->stop();
    m_ring->setDuration(milliseconds);
    m_ring->start();
}

void QtPresetButton::stopRing() {
    m_ring->stop();
    setShare(0);
}

QSize QtPresetButton::sizeHint() const {
    return buttonSize;
}

QSize QtPresetButton::minimumSizeHint() const {
    return {vlr::fingerSize, vlr::fingerSize};
}

void QtPresetButton::resizeEvent(QResizeEvent* event) {
    QToolButton::resizeEvent(event);
    const int side = std::min(width(), height());
    setIconSize(pictureSize * side / buttonSize.width());
}

void QtPresetButton::abandonPress() {
    stopRing();
    setDown(false);
    m_ignoresHand = true;
}

void QtPresetButton::mousePressEvent(QMouseEvent* event) {
    m_ignoresHand = false;
    QToolButton::mousePressEvent(event);
}

void QtPresetButton::mouseMoveEvent(QMouseEvent* event) {
    if (m_ignoresHand)
        return;
    // The base class takes leaving for a release and coming back for a press.
    m_isAbandoned = !hitButton(event->pos());
    QToolButton::mouseMoveEvent(event);
}

void QtPresetButton::focusOutEvent(QFocusEvent* event) {
    m_isAbandoned = true; // Nobody let go; the keyboard went elsewhere.
    QToolButton::focusOutEvent(event);
    m_isAbandoned = false;
}

void QtPresetButton::paintEvent(QPaintEvent* event) {
    QToolButton::paintEvent(event);
    if (m_share <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal inset = ringWidth / 2 + 1;
    const QRectF circle = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    painter.setPen(QPen(ringGround, ringWidth + 2));
    painter.drawEllipse(circle);
    painter.setPen(QPen(ringColor, ringWidth, Qt::SolidLine, Qt::FlatCap));
    painter.drawArc(circle, top, -static_cast<int>(m_share * fullCircle));
}
