#include "AppBase/QtMainWinSplitterHandle.h"

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtControlAreaControlButtons.h"
#include "AppBase/vlrControlList.h"
#include "Base/Icons.h"
#include "Base/QtQuadView.h"
#include "Base/TouchTargets.h"

#include <QtCore/QEvent>
#include <QtWidgets/QFrame>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr int columnWidth = 66;
constexpr int controlPane = 0;
constexpr QSize iconSize(40, 40);

// As high as what is in it, as long as there is room; then that shrinks, and then it scrolls.
class PresetArea : public QScrollArea {
public:
    PresetArea(QWidget* presets, QWidget* parent) : QScrollArea(parent) {
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
        setWidgetResizable(true);
        setWidget(presets);
    }
    QSize sizeHint() const override { return widget()->sizeHint(); }
    QSize minimumSizeHint() const override { return {vlr::fingerSize, vlr::fingerSize}; }

protected:
    bool viewportEvent(QEvent* event) override {
        if (event->type() == QEvent::LayoutRequest)
            updateGeometry(); // The number of presets changed.
        return QScrollArea::viewportEvent(event);
    }
};

} // namespace

QtMainWinSplitterHandle::QtMainWinSplitterHandle(const DataPointer<QuadViewConfig>& config,
                                                 Qt::Orientation orientation, QSplitter* parent)
    : QSplitterHandle(orientation, parent), m_normalWidth(parent->handleWidth()),
      m_frame(new QFrame(this)), m_openClose(new QToolButton(m_frame)),
      m_controlButtons(new QtControlAreaControlButtons(config, m_frame)), m_config(config) {
    m_presetArea = new PresetArea(m_controlButtons, m_frame);
    createColumn();
    connect(m_openClose, &QToolButton::clicked, this, &QtMainWinSplitterHandle::openCloseClicked);
    connect(m_openClose, &QToolButton::clicked, this,
            &QtMainWinSplitterHandle::openCloseClickedSlot);
    connect(parent, &QSplitter::splitterMoved, this, &QtMainWinSplitterHandle::splitterMoved);
    connect(this, &QtMainWinSplitterHandle::moduleActivated, m_controlButtons,
            &QtControlAreaControlButtons::moduleActivated);
    connect(this, &QtMainWinSplitterHandle::moduleActivated, this,
            &QtMainWinSplitterHandle::followViews);
    m_openClose->show();
    m_touchWidth = m_frame->frameGeometry().bottom() - m_frame->frameGeometry().top() + 1;
    m_frame->hide();
    parent->setHandleWidth(m_normalWidth);
}

QtMainWinSplitterHandle::~QtMainWinSplitterHandle() = default;

void QtMainWinSplitterHandle::createColumn() {
    m_openClose->setObjectName(QStringLiteral("openClose"));
    m_openClose->setIconSize(iconSize);
    m_openClose->setAutoRaise(true);
    m_openClose->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // The grip's cursor says "drag"; the column is to be pressed.
    m_frame->setCursor(Qt::ArrowCursor);
    m_frame->resize(columnWidth, columnWidth);
    showDirection(true);

    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_frame, 1);
    auto* const column = new QVBoxLayout(m_frame);
    column->setContentsMargins(2, 4, 2, 4);
    column->addWidget(m_presetArea);
    column->addStretch(2);
    column->addWidget(m_openClose);
}

// From right to left the control area is on the right, and closes that way.
void QtMainWinSplitterHandle::showDirection(bool isOpen) {
    const bool pointsLeft = isOpen != isRightToLeft();
    const QString icon = pointsLeft ? QStringLiteral("LeftArrow") : QStringLiteral("RightArrow");
    const QString text = isOpen ? tr("Close the control area") : tr("Open the control area");
    if (icon == m_arrow && text == m_openClose->toolTip())
        return; // Asked for at every step of a drag.
    m_arrow = icon;
    m_openClose->setIcon(vlr::icon(icon));
    m_openClose->setToolTip(text);
    m_openClose->setAccessibleName(text);
}

// Who is told by openCloseClicked() has moved the panes by now.
void QtMainWinSplitterHandle::openCloseClickedSlot() {
    showDirection(splitter()->sizes().value(controlPane) > 0);
}

// The index is that of the pane behind the handle; what opens and closes is the one before it.
void QtMainWinSplitterHandle::splitterMoved(int, int index) {
    showDirection(splitter()->sizes().value(std::max(controlPane, index - 1)) > 0);
}

void QtMainWinSplitterHandle::setTouchScreenMode(bool on) {
    if (!on) {
        m_frame->hide();
        splitter()->setHandleWidth(m_normalWidth);
        return;
    }
    splitter()->setHandleWidth(m_touchWidth);
    m_controlButtons->update();
    followViews();
    m_frame->show();
    openCloseClickedSlot();
}

// --- the views

// A splitter that is in no main window has nobody to show views in it.
void QtMainWinSplitterHandle::followViews() {
    QtQuadView* const viewer = vlr::ControlList::instance()->getViewer();
    if (viewer != m_viewer) {
        if (m_viewer)
            m_viewer->removeEventFilter(this);
        m_viewer = viewer;
        if (viewer)
            viewer->installEventFilter(this);
    }
    QWidget* const top = window();
    const bool isInSight = viewer && viewer->window() == top && viewer->isVisibleTo(top);
    m_presetArea->setVisible(isInSight || !qobject_cast<QMainWindow*>(top));
}

bool QtMainWinSplitterHandle::eventFilter(QObject* watched, QEvent* event) {
    // A view that is being destroyed hides as well, when it is none any more.
    if ((event->type() == QEvent::Show || event->type() == QEvent::Hide) && watched == m_viewer &&
        qobject_cast<QtQuadView*>(watched))
        followViews();
    return QSplitterHandle::eventFilter(watched, event);
}

void QtMainWinSplitterHandle::showEvent(QShowEvent* event) {
    followViews();
    QSplitterHandle::showEvent(event);
}

// Sizes that are set, not dragged, are not announced by the splitter.
void QtMainWinSplitterHandle::moveEvent(QMoveEvent* event) {
    QSplitterHandle::moveEvent(event);
    openCloseClickedSlot();
}

void QtMainWinSplitterHandle::changeEvent(QEvent* event) {
    QSplitterHandle::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        openCloseClickedSlot();
}
