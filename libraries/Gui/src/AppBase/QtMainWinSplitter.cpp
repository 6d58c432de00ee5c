#include "AppBase/QtMainWinSplitter.h"

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtMainWinSplitterHandle.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QLayout>
#include <QtWidgets/QToolButton>

namespace {

constexpr int controlPane = 0;
constexpr int handleBetweenPanes = 1;

} // namespace

QtMainWinSplitter::QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), m_config(config), m_normalHandleWidth(handleWidth()) {}

QtMainWinSplitter::~QtMainWinSplitter() = default;

QSplitterHandle* QtMainWinSplitter::createHandle() {
    // What stands before the first pane is no boundary, and never seen.
    if (count() == 0)
        return QSplitter::createHandle();
    auto* const handle = new QtMainWinSplitterHandle(m_config, orientation(), this);
    connect(handle, &QtMainWinSplitterHandle::openCloseClicked, this,
            &QtMainWinSplitter::openCloseClicked);
    connect(this, &QtMainWinSplitter::moduleActivated, handle,
            &QtMainWinSplitterHandle::moduleActivated);
    createWayBack(handle);
    return handle;
}

void QtMainWinSplitter::createWayBack(QSplitterHandle* handle) {
    m_wayBack = new QToolButton(handle);
    m_wayBack->setObjectName(QStringLiteral("wayBack"));
    m_wayBack->setAutoRaise(true);
    m_wayBack->setArrowType(layoutDirection() == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow);
    m_wayBack->setToolTip(tr("Open the control area"));
    m_wayBack->setAccessibleName(m_wayBack->toolTip());
    m_wayBack->setFocusPolicy(Qt::TabFocus);
    m_wayBack->setCursor(Qt::ArrowCursor);
    m_wayBack->hide();
    handle->layout()->addWidget(m_wayBack);
    handle->layout()->setAlignment(m_wayBack, Qt::AlignBottom);
    connect(m_wayBack, &QToolButton::clicked, this, &QtMainWinSplitter::openCloseClicked);
    handle->installEventFilter(this);
}

// Whoever opens or closes the first pane, the handle behind it moves.
bool QtMainWinSplitter::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Move && watched == handle(handleBetweenPanes))
        QTimer::singleShot(0, this, &QtMainWinSplitter::showWayBack);
    return QSplitter::eventFilter(watched, event);
}

void QtMainWinSplitter::showEvent(QShowEvent* event) {
    QSplitter::showEvent(event);
    showWayBack();
}

void QtMainWinSplitter::showWayBack() {
    if (!m_wayBack || m_touchScreenMode || !isVisible())
        return;
    const bool isShut = sizes().value(controlPane) == 0;
    m_wayBack->setVisible(isShut);
    setHandleWidth(isShut ? m_wayBack->sizeHint().width() : m_normalHandleWidth);
}

void QtMainWinSplitter::setTouchScreenMode(bool on) {
    m_touchScreenMode = on;
    if (m_wayBack)
        m_wayBack->hide();
    if (auto* between = qobject_cast<QtMainWinSplitterHandle*>(handle(handleBetweenPanes)))
        between->setTouchScreenMode(on);
    QTimer::singleShot(0, this, &QtMainWinSplitter::showWayBack);
}
