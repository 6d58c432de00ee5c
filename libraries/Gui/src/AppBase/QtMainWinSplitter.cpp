#include "AppBase/QtMainWinSplitter.h"

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtMainWinSplitterHandle.h"
#include "Base/Icons.h"

#include <QtCore/QEvent>
#include <QtWidgets/QLayout>
#include <QtWidgets/QPushButton>

namespace {

constexpr int controlPane = 0;
constexpr int handleBetweenPanes = 1;

} // namespace

QtMainWinSplitter::QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), m_config(config), m_normalHandleWidth(handleWidth()) {
    m_showsWayBack.setSingleShot(true);
    connect(&m_showsWayBack, &QTimer::timeout, this, &QtMainWinSplitter::showWayBack);
}

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
    handle->installEventFilter(this);
    return handle;
}

// No tool button, and not before it is needed: who looks for the button of the column finds that.
void QtMainWinSplitter::createWayBack() {
    QSplitterHandle* const between = handle(handleBetweenPanes);
    m_wayBack = new QPushButton(between);
    m_wayBack->setObjectName(QStringLiteral("wayBack"));
    m_wayBack->setFlat(true);
    m_wayBack->setToolTip(tr("Open the control area"));
    m_wayBack->setAccessibleName(m_wayBack->toolTip());
    m_wayBack->setFocusPolicy(Qt::TabFocus);
    m_wayBack->setCursor(Qt::ArrowCursor);
    m_wayBack->hide();
    between->layout()->addWidget(m_wayBack);
    between->layout()->setAlignment(m_wayBack, Qt::AlignBottom);
    connect(m_wayBack, &QPushButton::clicked, this, &QtMainWinSplitter::openCloseClicked);
}

// Whoever opens or closes the first pane, the handle behind it moves.
bool QtMainWinSplitter::eventFilter(QObject* watched, QEvent* event) {
    const bool mayChange =
        event->type() == QEvent::Move || event->type() == QEvent::LayoutDirectionChange;
    if (mayChange && watched == handle(handleBetweenPanes))
        m_showsWayBack.start();
    return QSplitter::eventFilter(watched, event);
}

void QtMainWinSplitter::showEvent(QShowEvent* event) {
    QSplitter::showEvent(event);
    showWayBack();
}

void QtMainWinSplitter::showWayBack() {
    if (m_touchScreenMode || !isVisible())
        return;
    const bool isShut = sizes().value(controlPane) == 0;
    if (isShut && !m_wayBack)
        createWayBack();
    if (!m_wayBack)
        return;
    if (isShut)
        m_wayBack->setIcon(vlr::icon(isRightToLeft() ? QStringLiteral("LeftArrow")
                                                     : QStringLiteral("RightArrow")));
    m_wayBack->setVisible(isShut);
    setHandleWidth(isShut ? m_wayBack->sizeHint().width() : m_normalHandleWidth);
}

void QtMainWinSplitter::setTouchScreenMode(bool on) {
    m_touchScreenMode = on;
    if (m_wayBack)
        m_wayBack->hide();
    if (auto* between = qobject_cast<QtMainWinSplitterHandle*>(handle(handleBetweenPanes)))
        between->setTouchScreenMode(on);
    m_showsWayBack.start();
}
