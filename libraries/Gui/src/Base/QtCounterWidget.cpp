#include "Base/QtCounterWidget.h"

#include "Log/vlrLog.h"

#include <QtGui/QColor>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>

#include <algorithm>

namespace {

constexpr int framesPerRow = 20;

} // namespace

QtCounterWidget::QtCounterWidget(const int& frames, QWidget* parent) : QGroupBox(parent) {
    createInterface(frames);
}

QtCounterWidget::QtCounterWidget(const int& frames, const int& width, const int& height,
                                 QWidget* parent)
    : QGroupBox(parent), m_width(std::max(width, 1)), m_height(std::max(height, 1)) {
    createInterface(frames);
}

QtCounterWidget::~QtCounterWidget() = default;

void QtCounterWidget::createInterface(const int& frames) {
    auto* grid = qobject_cast<QGridLayout*>(layout());
    if (!grid) {
        grid = new QGridLayout(this);
        grid->setSpacing(3);
        grid->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    }
    const QPixmap dark = filled(Qt::darkGray);
    for (int i = 0; i < frames; ++i) {
        auto* frame = new QLabel(this);
        frame->setFixedSize(m_width, m_height);
        frame->setFrameStyle(int(QFrame::Panel) | QFrame::Raised);
        frame->setPixmap(dark);
        grid->addWidget(frame, i / framesPerRow, i % framesPerRow);
        m_frames.push_back(frame);
    }
    m_colors.assign(m_frames.size(), QPixmap());
}

void QtCounterWidget::removeFrames() {
    if (!layout()) {
        vlr::Log::getInstance("ERROR", "QtCounterWidget", __LINE__) << "Layout is not defined.";
        return;
    }
    for (QLabel* frame : m_frames) {
        layout()->removeWidget(frame);
        delete frame;
    }
    m_frames.clear();
    m_current = 0;
    emit counterChangedSIG(0);
}

void QtCounterWidget::setFrameCount(const int& frames) {
    removeFrames();
    if (layout())
        createInterface(frames);
}

QPixmap QtCounterWidget::filled(const QColor& color) const {
    QPixmap pixmap(m_width, m_height);
    pixmap.fill(color);
    return pixmap;
}

void QtCounterWidget::clear() {
    const QPixmap dark = filled(Qt::darkGray);
    for (QLabel* frame : m_frames)
        frame->setPixmap(dark);
    m_current = 0;
    emit counterChangedSIG(0);
}

int QtCounterWidget::getCurrentFrameNumber() const {
    return m_current;
}

void QtCounterWidget::setCurrentFrameNumber(const int& number) {
    const int wanted = std::max(number, 0);
    if (wanted == m_current)
        return;
    m_current = std::min(wanted, static_cast<int>(m_frames.size()));
    emit counterChangedSIG(m_current);
    updateFrames();
}

void QtCounterWidget::setFrameColor(const QColor& color, const int& position) {
    if (position >= 1 && position <= static_cast<int>(m_colors.size()))
        m_colors[static_cast<std::size_t>(position) - 1] = filled(color);
}

void QtCounterWidget::updateFrames() {
    for (auto position = static_cast<std::size_t>(m_current); position > 0; --position)
        if (!m_colors[position - 1].isNull()) {
            changeFrameColor(m_colors[position - 1]);
            return;
        }
    clear();
}

void QtCounterWidget::changeFrameColor(const QPixmap& color) {
    const QPixmap dark = filled(Qt::darkGray);
    for (std::size_t i = 0; i < m_frames.size(); ++i)
        m_frames[i]->setPixmap(i < static_cast<std::size_t>(m_current) ? color : dark);
}
