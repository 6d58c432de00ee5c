#include "AppBase/QtControlAreaControlButtons.h"

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtPresetButton.h"
#include "AppBase/vlrControlList.h"
#include "Base/LayoutPictures.h"
#include "Base/QtQuadView.h"
#include "Log/vlrLog.h"

#include <QtCore/QTimer>
#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr int noPreset = -1;
constexpr int gap = 4; // pixels
const QSize quarter(500, 500);

} // namespace

QtControlAreaControlButtons::QtControlAreaControlButtons(const DataPointer<QuadViewConfig>& config,
                                                         QWidget* parent)
    : QWidget(parent), m_layout(new QVBoxLayout(this)), m_holdTimer(new QTimer(this)),
      m_mainButton(createButton(tr("All views alike"))), m_presets(new QButtonGroup(this)),
      m_quadViewConfig(config) {
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(gap);
    m_presets->setExclusive(false);
    m_mainButton->setObjectName(QStringLiteral("allAlike"));
    m_holdTimer->setSingleShot(true);
    connect(m_holdTimer, &QTimer::timeout, this, &QtControlAreaControlButtons::minPressTimeOver);
    reconfigure(nullptr, nullptr, nullptr, nullptr);
    if (m_quadViewConfig)
        m_quadViewConfig->attach(Data::CHANGED, this, &QtControlAreaControlButtons::reconfigure);
    else
        draw(m_mainButton, {quarter, quarter, quarter, quarter});
}

QtControlAreaControlButtons::~QtControlAreaControlButtons() {
    if (m_quadViewConfig)
        m_quadViewConfig->detach(this);
    if (m_moduleConfig)
        m_moduleConfig->detach(this);
}

QtPresetButton* QtControlAreaControlButtons::createButton(const QString& text) {
    auto* const created = new QtPresetButton(this);
    created->setToolTip(text);
    created->setAccessibleName(text);
    m_layout->addWidget(created, 0, Qt::AlignHCenter);
    created->show(); // Now, as the layout would do it when the events come round.
    connect(created, &QToolButton::pressed, this, &QtControlAreaControlButtons::buttonPressed);
    connect(created, &QToolButton::released, this, &QtControlAreaControlButtons::buttonReleased);
    return created;
}

int QtControlAreaControlButtons::count() const {
    return m_presets->buttons().size();
}

QtPresetButton* QtControlAreaControlButtons::button(int index) const {
    return static_cast<QtPresetButton*>(m_presets->buttons().value(index, nullptr));
}

QuadViewGeometry::Extents QtControlAreaControlButtons::preset(int index) const {
    QuadViewGeometry::Extents sizes;
    if (m_moduleConfig)
        m_moduleConfig->resourceDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
    return sizes;
}

// --- pictures

void QtControlAreaControlButtons::reconfigure(CaSubject*, void*, const char*, void*) {
    if (m_quadViewConfig)
        draw(m_mainButton, {quarter, quarter, quarter, quarter});
    if (m_moduleConfig)
        takePresets();
    if (m_quadViewConfig)
        setHoldDownTime(m_quadViewConfig->holdDownTime());
}

void QtControlAreaControlButtons::takePresets() {
    setNumButtons(m_moduleConfig->noDimensionSets());
    for (int i = 0; i < count(); ++i) {
        const QuadViewGeometry::Extents sizes = preset(i);
        setButtonToViewerDimensions(i, sizes[0], sizes[1], sizes[2], sizes[3]);
    }
}

void QtControlAreaControlButtons::setButtonToViewerDimensions(int index, QSize resource0,
                                                              QSize resource1, QSize resource2,
                                                              QSize resource3) {
    QtPresetButton* const drawn = button(index);
    if (!drawn)
        return;
    const QuadViewGeometry::Extents sizes{resource0, resource1, resource2, resource3};
    draw(drawn, sizes);
    const QString text = resource0.isValid()
                             ? tr("Layout %1. Hold to store the present layout.")
                             : tr("Layout %1 is empty. Hold to store the present layout.");
    drawn->setToolTip(text.arg(index + 1));
    drawn->setAccessibleName(text.arg(index + 1));
}

void QtControlAreaControlButtons::draw(QtPresetButton* button,
                                       const QuadViewGeometry::Extents& sizes) const {
    std::array<QColor, QuadViewConfig::colorCount> colors;
    const DataPointer<QuadViewConfig> config =
        m_quadViewConfig ? m_quadViewConfig : DataPointer<QuadViewConfig>(new QuadViewConfig);
    for (int i = 0; i < QuadViewConfig::colorCount; ++i)
        colors[static_cast<std::size_t>(i)] = config->resourceColor(i);
    const QSize size = QtPresetButton::pictureSize;
    button->setIcon(vlr::iconOf(size, [sizes, colors, size](qreal ratio) {
        return vlr::layoutPixmap(sizes, colors, size, ratio);
    }));
}

void QtControlAreaControlButtons::setHoldDownTime(int msec) {
    if (msec >= 1)
        m_holdDownTime = msec;
}

// --- the module and the viewer

void QtControlAreaControlButtons::moduleActivated(const QtAppModuleProxy* proxy) {
    abandonPress(); // What began in another module must not store into this one.
    if (m_moduleConfig)
        m_moduleConfig->detach(this);
    m_moduleConfig = proxy ? proxy->moduleGeneralOptions() : DataPointer<ModuleConfig>();
    if (m_moduleConfig)
        m_moduleConfig->attach(Data::CHANGED, this, &QtControlAreaControlButtons::reconfigure);
    update();
}

void QtControlAreaControlButtons::followViewer() {
    QtQuadView* const viewer = vlr::ControlList::instance()->getViewer();
    if (!viewer || viewer == m_connectedViewer)
        return;
    m_connectedViewer = viewer;
    connect(viewer, &QtQuadView::aspectRatioLockChanged, this,
            &QtControlAreaControlButtons::setViewerStateLocked);
    setViewerStateLocked(viewer->isAspectRatioLocked());
}

void QtControlAreaControlButtons::update() {
    followViewer();
    if (m_moduleConfig)
        takePresets();
    QWidget::update();
}

void QtControlAreaControlButtons::setNumButtons(int numBtn) {
    const int wanted = std::max(0, numBtn);
    if (m_pressedIndex >= wanted)
        abandonPress();
    if (wanted > count()) {
        while (count() < wanted) {
            QtPresetButton* const created = createButton(QString());
            m_presets->addButton(created);
            created->setObjectName(QStringLiteral("preset%1").arg(count()));
            setButtonToViewerDimensions(count() - 1, quarter, quarter, quarter, quarter);
        }
        // Kept: whoever reads the log counts on this empty line.
        VLR_LOG(Error) << "\n";
    }
    while (count() > wanted) {
        QtPresetButton* const surplus = button(count() - 1);
        m_presets->removeButton(surplus);
        surplus->hide();
        surplus->deleteLater(); // It may be the one that is pressed.
    }
}

void QtControlAreaControlButtons::setViewerStateLocked(bool locked) {
    if (locked)
        abandonPress();
    setVisible(!locked);
}

void QtControlAreaControlButtons::hideEvent(QHideEvent* event) {
    abandonPress();
    QWidget::hideEvent(event);
}

// --- pressing

void QtControlAreaControlButtons::abandonPress() {
    m_holdTimer->stop();
    m_released = true;
    m_pressedIndex = noPreset;
    m_mainButton->abandonPress();
    for (int i = 0; i < count(); ++i)
        button(i)->abandonPress();
}

void QtControlAreaControlButtons::buttonPressed() {
    m_released = false;
    m_pressedIndex = noPreset;
    if (m_mainButton->isDown())
        return;
    for (int i = 0; i < count(); ++i)
        if (button(i)->isDown())
            m_pressedIndex = i;
    if (QtPresetButton* const pressed = button(m_pressedIndex)) {
        m_holdTimer->start(m_holdDownTime);
        pressed->startRing(m_holdDownTime);
    }
}

void QtControlAreaControlButtons::buttonReleased() {
    m_released = true;
    m_holdTimer->stop();
    QtPresetButton* const pressed =
        m_pressedIndex == noPreset ? m_mainButton : button(m_pressedIndex);
    if (!pressed)
        return;
    pressed->stopRing();
    QtQuadView* const viewer = vlr::ControlList::instance()->getViewer();
    if (!viewer || pressed->isAbandoned())
        return;
    if (m_pressedIndex == noPreset) {
        viewer->setViewerDimensions(quarter, quarter, quarter, quarter);
        return;
    }
    const QuadViewGeometry::Extents sizes = preset(m_pressedIndex);
    const bool isStored =
        std::all_of(sizes.begin(), sizes.end(), [](const QSize& size) { return size.isValid(); });
    if (isStored)
        viewer->setViewerDimensions(sizes[0], sizes[1], sizes[2], sizes[3]);
}

void QtControlAreaControlButtons::minPressTimeOver() {
    QtQuadView* const viewer = vlr::ControlList::instance()->getViewer();
    if (m_released || !viewer || !m_moduleConfig || !button(m_pressedIndex))
        return;
    const int index = m_pressedIndex;
    button(index)->stopRing();
    QuadViewGeometry::Extents sizes;
    viewer->viewerDimensions(sizes[0], sizes[1], sizes[2], sizes[3]);
    // Who hears of it may take the column away.
    const QPointer<QtControlAreaControlButtons> self = this;
    const DataPointer<ModuleConfig> config = m_moduleConfig;
    config->setResourceDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
    if (!self)
        return;
    // The record may have no such layout, or another one by now.
    sizes = preset(index);
    setButtonToViewerDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
}
