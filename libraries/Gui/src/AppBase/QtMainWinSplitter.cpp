#include "AppBase/QtMainWinSplitter.h"

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtMainWinSplitterHandle.h"

namespace {

constexpr int handleBetweenPanes = 1;

} // namespace

QtMainWinSplitter::QtMainWinSplitter(const DataPointer<QuadViewConfig>& config, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), m_config(config) {}

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
    return handle;
}

void QtMainWinSplitter::setTouchScreenMode(bool on) {
    if (auto* between = qobject_cast<QtMainWinSplitterHandle*>(handle(handleBetweenPanes)))
        between->setTouchScreenMode(on);
}
