#include "Widgets/QtRigidVisibilityWidget.h"

#include "Tools/SurgicalToolBox.h"
#include "Widgets/RigidVisibility.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

#include <cmath>

namespace {

constexpr int ledSize = 15;   // pixels
constexpr int interval = 100; // milliseconds
const QString noValue = QStringLiteral("-");

QPen markPen(const QColor& background) {
    const QColor color = background.lightness() < 128 ? Qt::white : Qt::black;
    return QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap);
}

// A ring around the middle. The colour has most of the square and its middle.
QPixmap visibleLed(const QColor& color) {
    QPixmap led(ledSize, ledSize);
    led.fill(color);
    QPainter painter(&led);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(markPen(color));
    painter.drawEllipse(QPointF(7.5, 7.5), 4.5, 4.5);
    return led;
}

// A cross that leaves the middle out.
QPixmap hiddenLed(const QColor& color) {
    QPixmap led(ledSize, ledSize);
    led.fill(color);
    QPainter painter(&led);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(markPen(color));
    painter.translate(7.5, 7.5);
    for (int arm = 0; arm < 4; ++arm) {
        painter.rotate(90);
        painter.drawLine(QPointF(2.5, 2.5), QPointF(5, 5));
    }
    return led;
}

QPixmap unknownLed() {
    QPixmap led(ledSize, ledSize);
    led.fill(Qt::darkGray);
    return led;
}

QString centimetres(double millimetres) {
    return std::isfinite(millimetres) ? QStringLiteral("%1").arg(std::lround(millimetres / 10), 4)
                                      : noValue;
}

QString rmsText(double millimetres) {
    return std::isfinite(millimetres) ? QStringLiteral("%1").arg(millimetres, 4, 'g', 2) : noValue;
}

} // namespace

QtRigidVisibilityWidget::QtRigidVisibilityWidget(QWidget* parent)
    : QtRigidVisibilityWidget(nullptr, parent) {}

QtRigidVisibilityWidget::QtRigidVisibilityWidget(SurgicalTool* tool, QWidget* parent)
    : QWidget(parent), m_layout(new QHBoxLayout(this)), m_visibleColor(Qt::darkGreen),
      m_hiddenColor(Qt::darkRed), m_pixmaps{unknownLed(), visibleLed(m_visibleColor),
                                            hiddenLed(m_hiddenColor)} {
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->addStretch(1);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &QtRigidVisibilityWidget::update);
    setSurgicalTool(tool, false);
}

QtRigidVisibilityWidget::~QtRigidVisibilityWidget() = default;

void QtRigidVisibilityWidget::setSurgicalTool(SurgicalTool* tool, bool track) {
    m_tool = tool;
    m_isRigidVisible = false;
    m_unplugged.disconnect();
    removeLeds();
    if (tool) {
        m_unplugged = CaConnection(
            *tool, SurgicalTool::UNPLUGGED,
            [this](CaSubject*, void*, const char*, void*) { setSurgicalTool(nullptr, false); });
        makeLeds(static_cast<std::size_t>(tool->getRigidBody()->getNumberOfMarkers()));
    }
    if (track)
        startTracking();
}

void QtRigidVisibilityWidget::setLedVisibleColor(const QColor& color) {
    m_visibleColor = color;
    m_pixmaps[static_cast<std::size_t>(Led::Visible)] = visibleLed(color);
    redrawLeds(Led::Visible);
}

void QtRigidVisibilityWidget::setLedHiddenColor(const QColor& color) {
    m_hiddenColor = color;
    m_pixmaps[static_cast<std::size_t>(Led::Hidden)] = hiddenLed(color);
    redrawLeds(Led::Hidden);
}

void QtRigidVisibilityWidget::setValuesShown(bool distance, bool rms) {
    showValue(m_distance, distance, tr("Dist. to CAM [cm]: "));
    showValue(m_rms, rms, tr("RMS [mm]: "));
}

void QtRigidVisibilityWidget::showValue(Value& value, bool shown, const QString& caption) {
    if (shown == (value.label != nullptr))
        return;
    delete value.caption;
    delete value.label;
    value = Value();
    m_shownDistance = m_shownRms = -1;
    if (!shown)
        return;
    value.caption = new QLabel(caption, this);
    value.label = new QLabel(noValue, this);
    value.caption->setBuddy(value.label);
    m_layout->addWidget(value.caption);
    m_layout->addWidget(value.label);
}

void QtRigidVisibilityWidget::startTracking() {
    m_timer.start();
}

void QtRigidVisibilityWidget::stopTracking() {
    m_timer.stop();
    m_isRigidVisible = false;
    for (std::size_t i = 0; i < m_leds.size(); ++i)
        setLed(i, Led::Unknown);
    setValues(noValue, noValue);
}

// The signal comes last: whoever hears it may delete this widget.
void QtRigidVisibilityWidget::update() {
    auto* box = SurgicalToolBox::getInstance();
    if (box)
        box->refresh();
    if (!m_tool || !box || !box->isConnected()) {
        m_isRigidVisible = false;
        removeLeds();
        setValues(noValue, noValue);
        return;
    }
    const CaTool* body = m_tool->getRigidBody();
    const int count = body->getNumberOfMarkers();
    std::vector<bool> seen;
    for (int i = 0; i < count; ++i)
        seen.push_back(!vlr::isHidden(body->getReal(i)));
    makeLeds(seen.size());
    for (std::size_t i = 0; i < seen.size(); ++i)
        setLed(i, seen[i] ? Led::Visible : Led::Hidden);
    const vlr::RigidVisibility visibility(seen);
    if (visibility.values == vlr::RigidVisibility::Values::Measured)
        setMeasured(body->getTranslation().norm(), body->getRMS());
    else if (visibility.values == vlr::RigidVisibility::Values::None)
        setValues(noValue, noValue);
    m_isRigidVisible = visibility.isVisible;
    emit rigidVisibleSIG(m_isRigidVisible);
}

const QPixmap& QtRigidVisibilityWidget::pixmap(Led state) const {
    return m_pixmaps[static_cast<std::size_t>(state)];
}

void QtRigidVisibilityWidget::setLed(std::size_t index, Led state) {
    LedLabel& led = m_leds[index];
    if (led.state == state)
        return;
    led.state = state;
    led.label->setPixmap(pixmap(state));
    const QString text = state == Led::Visible  ? tr("Marker %1: visible")
                         : state == Led::Hidden ? tr("Marker %1: hidden")
                                                : tr("Marker %1: not known");
    led.label->setAccessibleName(text.arg(index + 1));
    led.label->setToolTip(text.arg(index + 1));
}

void QtRigidVisibilityWidget::redrawLeds(Led state) {
    for (const LedLabel& led : m_leds)
        if (led.state == state)
            led.label->setPixmap(pixmap(state));
}

void QtRigidVisibilityWidget::makeLeds(std::size_t count) {
    if (m_leds.size() == count)
        return;
    removeLeds();
    for (std::size_t i = 0; i < count; ++i) {
        auto* label = new QLabel(this);
        label->setFixedSize(ledSize, ledSize);
        m_layout->insertWidget(static_cast<int>(i), label);
        m_leds.push_back({label, Led::Hidden});
        setLed(i, Led::Unknown);
    }
}

void QtRigidVisibilityWidget::removeLeds() {
    for (const LedLabel& led : m_leds)
        delete led.label;
    m_leds.clear();
}

void QtRigidVisibilityWidget::setMeasured(double distance, double rms) {
    if (distance == m_shownDistance && rms == m_shownRms)
        return;
    setValues(centimetres(distance), rmsText(rms));
    m_shownDistance = distance;
    m_shownRms = rms;
}

void QtRigidVisibilityWidget::setValues(const QString& distance, const QString& rms) {
    m_shownDistance = m_shownRms = -1;
    if (m_distance.label && m_distance.label->text() != distance)
        m_distance.label->setText(distance);
    if (m_rms.label && m_rms.label->text() != rms)
        m_rms.label->setText(rms);
}
