#include "AppBase/QtMainWinSplitterHandle.h"

#include "AppBase/Icons.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtControlAreaControlButtons.h"

#include <QtWidgets/QFrame>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr int columnWidth = 66;
constexpr int controlPane = 0;
constexpr QSize iconSize(40, 40);

} // namespace

QtMainWinSplitterHandle::QtMainWinSplitterHandle(const DataPointer<QuadViewConfig>& config,
                                                 Qt::Orientation orientation, QSplitter* parent)
    : QSplitterHandle(orientation, parent), m_normalWidth(parent->handleWidth()),
      m_frame(new QFrame(this)), m_openClose(new QToolButton(m_frame)),
      m_controlButtons(new QtControlAreaControlButtons(config, m_frame)), m_config(config) {
    createColumn();
    connect(m_openClose, &QToolButton::clicked, this, &QtMainWinSplitterHandle::openCloseClicked);
    connect(m_openClose, &QToolButton::clicked, this,
            &QtMainWinSplitterHandle::openCloseClickedSlot);
    connect(parent, &QSplitter::splitterMoved, this, &QtMainWinSplitterHandle::splitterMoved);
    connect(this, &QtMainWinSplitterHandle::moduleActivated, m_controlButtons,
            &QtControlAreaControlButtons::moduleActivated);
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
    column->addWidget(m_controlButtons);
    column->addStretch(2);
    column->addWidget(m_openClose);
}

void QtMainWinSplitterHandle::showDirection(bool isOpen) {
    m_openClose->setIcon(
        vlr::icon(isOpen ? QStringLiteral("LeftArrow") : QStringLiteral("RightArrow")));
    const QString text = isOpen ? tr("Close the control area") : tr("Open the control area");
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
    m_frame->show();
    openCloseClickedSlot();
}
