#include "Base/QtQuadView.h"

#include "Base/LayoutCommands.h"
#include "Base/LayoutPictures.h"
#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QuadViewSettings.h"
#include "Log/vlrLog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QAction>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QToolTip>

#include <algorithm>
#include <vector>

namespace {

using Geometry = QuadViewGeometry;

constexpr const char* logSource = "QtQuadView";
constexpr int hundred = 100;

/// The three expand buttons of a piece that divides a row, and of one that divides a column.
struct ButtonLook {
    vlr::ExpandPicture picture;
    const char* text;
};
using P = vlr::ExpandPicture;
constexpr std::array<ButtonLook, 3> rowButtons{{
    {P::Right, QT_TRANSLATE_NOOP("QtQuadView", "Right view over the whole row")},
    {P::BothColumns, QT_TRANSLATE_NOOP("QtQuadView", "Both views of the row alike")},
    {P::Left, QT_TRANSLATE_NOOP("QtQuadView", "Left view over the whole row")},
}};
constexpr std::array<ButtonLook, 3> columnButtons{{
    {P::Lower, QT_TRANSLATE_NOOP("QtQuadView", "Lower view over the whole column")},
    {P::BothRows, QT_TRANSLATE_NOOP("QtQuadView", "Both views of the column alike")},
    {P::Upper, QT_TRANSLATE_NOOP("QtQuadView", "Upper view over the whole column")},
}};

vlr::LogStream complain(int line) {
    return vlr::Log::getInstance("CaERROR", logSource, line);
}

int percentOf(int length, int percent) {
    return static_cast<int>(qint64(length) * percent / hundred);
}

} // namespace

/// What the seven pieces are made of.
struct QtQuadView::SplitterRow {
    int orientation;
    int position;
    void (QtQuadView::*slot)(QPoint);
    std::vector<void (QtQuadView::*)()> buttons;
};

const std::array<QtQuadView::SplitterRow, QuadViewGeometry::splitterCount>&
QtQuadView::splitterTable() {
    using Q = QtQuadView;
    constexpr int across = QtQVSplitterFrame::Horizontal;
    constexpr int upright = QtQVSplitterFrame::Vertical;
    constexpr int cross = QtQVSplitterFrame::Cross;
    static const std::array<SplitterRow, QuadViewGeometry::splitterCount> table{{
        {upright, 0, &Q::m_splitterUPSL, {&Q::zoomHURSL, &Q::zoomHUMSL, &Q::zoomHULSL}},
        {upright, 2, &Q::m_splitterDOWNSL, {&Q::zoomHLRSL, &Q::zoomHLMSL, &Q::zoomHLLSL}},
        {across, 0, &Q::m_splitterLEFTSL, {&Q::zoomVLLSL, &Q::zoomVMLSL, &Q::zoomVULSL}},
        {across, 2, &Q::m_splitterRIGHTSL, {&Q::zoomVLRSL, &Q::zoomVMRSL, &Q::zoomVURSL}},
        {across, 1, &Q::m_splitterH_CENTERSL, {}},
        {upright, 1, &Q::m_splitterV_CENTERSL, {}},
        {cross, 1, &Q::m_splitterCENTERSL, {}},
    }};
    return table;
}

QtQuadView::QtQuadView(QWidget* parent, Qt::WindowFlags f) : QWidget(parent, f) {
    setSizePolicy(sizePolicy());
    updateGeometry();
    createCommands();
    createViews();
    createSplitters();
    m_locked = true;
    unlockAspectRatio();
    m_hideTimer = new QTimer(this);
    connect(m_hideTimer, &QTimer::timeout, this, &QtQuadView::hideButtonsSL);
    m_hideTimer->setSingleShot(true);
    m_hideTimer->start(vlr::quadView::expandButtonTimeout.get());
    resetShapes();
}

QtQuadView::~QtQuadView() = default;

void QtQuadView::createViews() {
    for (QtQVViewFrame*& view : m_views) {
        view = new QtQVViewFrame(this);
        QtQuadView::setViewFrameStyle(view);
        connect(view, &QtQVViewFrame::getFocus, this, &QtQuadView::currentViewChangedSL);
    }
}

void QtQuadView::createSplitters() {
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        const SplitterRow& row = splitterTable()[i];
        auto* const splitter = new QtQVSimpleSplitter(this, row.orientation, row.position);
        m_splitters[i] = splitter;
        const auto& looks =
            row.orientation == QtQVSplitterFrame::Vertical ? rowButtons : columnButtons;
        for (std::size_t b = 0; b < row.buttons.size(); ++b) {
            const ButtonLook& look = looks[b];
            QPushButton* const button = splitter->createButton(nullptr);
            constexpr QSize size(vlr::expandPictureSide, vlr::expandPictureSide);
            button->setIcon(vlr::iconOf(size, [picture = look.picture](qreal ratio) {
                return vlr::expandPixmap(picture, ratio);
            }));
            button->setIconSize(size);
            button->setToolTip(tr(look.text));
            button->setAccessibleName(tr(look.text));
            connect(button, &QPushButton::clicked, this, row.buttons[b]);
        }
        connect(splitter, &QtQVSimpleSplitter::dragFinished, this,
                [this] { m_history.endChange(); });
        connect(splitter, &QtQVSimpleSplitter::lockedPressed, this, &QtQuadView::tellLocked);
    }
}

void QtQuadView::createCommands() {
    m_commands = new LayoutCommands(
        this, {[this] { return std::vector<QWidget*>(m_views.begin(), m_views.end()); },
               [this] { return m_locked; }, [this] { return getCurrentView(); },
               [this](int view) { maximizeOrRestore(view); }, [this] { equalize(); },
               [this] { undoLayout(); }, [this] { tellLocked(mapToGlobal(rect().center())); }});
}

// --- queries

QWidget* QtQuadView::getView(int index) {
    return m_views[static_cast<std::size_t>(index)];
}

QAction* QtQuadView::layoutAction(LayoutCommand command) const {
    using Own = LayoutCommands::Command;
    return m_commands->action(command == LayoutCommand::Undo       ? Own::Undo
                              : command == LayoutCommand::Equalize ? Own::Equalize
                                                                   : Own::ToggleMaximized);
}

int QtQuadView::getCurrentView() {
    for (int i = QuadViewGeometry::viewCount - 1; i >= 0; --i)
        if (m_current && m_views[static_cast<std::size_t>(i)] == m_current)
            return i;
    return -1;
}

void QtQuadView::viewerDimensions(QSize& r0, QSize& r1, QSize& r2, QSize& r3) {
    const Geometry::Extents& extents = m_geometry.extents();
    r0 = extents[0];
    r1 = extents[1];
    r2 = extents[2];
    r3 = extents[3];
}

QSize QtQuadView::sizeHint() const {
    // Layouts add sizes up, which must not go beyond what an int holds.
    constexpr QSize most(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    return vlr::quadView::initialSize.get().boundedTo(most);
}

// --- changing the layout

void QtQuadView::remember(int source) {
    m_history.remember(m_geometry.extents(), source);
}

void QtQuadView::changeTo(const QuadViewGeometry::Extents& extents) {
    (void)m_geometry.setExtents(extents);
    applyGeometry();
    updateGeometry();
}

void QtQuadView::drag(QuadViewGeometry::Splitter splitter, const QPoint& globalPosition) {
    remember(splitter);
    m_geometry.drag(splitter, mapFromGlobal(globalPosition), size());
    if (m_isApplyPending)
        return;
    m_isApplyPending = true;
    QCoreApplication::postEvent(this, new QEvent(QEvent::LayoutRequest));
}

// A hand moves faster than the screen shows: however many moves wait, widgets are placed once.
bool QtQuadView::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest && m_isApplyPending)
        applyGeometry();
    return QWidget::event(event);
}

// clang-format off
void QtQuadView::m_splitterUPSL(QPoint position) { drag(Geometry::Up, position); }
void QtQuadView::m_splitterDOWNSL(QPoint position) { drag(Geometry::Down, position); }
void QtQuadView::m_splitterLEFTSL(QPoint position) { drag(Geometry::Left, position); }
void QtQuadView::m_splitterRIGHTSL(QPoint position) { drag(Geometry::Right, position); }
void QtQuadView::m_splitterH_CENTERSL(QPoint position) { drag(Geometry::HCenter, position); }
void QtQuadView::m_splitterV_CENTERSL(QPoint position) { drag(Geometry::VCenter, position); }
void QtQuadView::m_splitterCENTERSL(QPoint position) { drag(Geometry::Center, position); }

void QtQuadView::zoomHULSL() { zoomRow(Geometry::UpperRow, Geometry::whole); }
void QtQuadView::zoomHUMSL() { zoomRow(Geometry::UpperRow, Geometry::half); }
void QtQuadView::zoomHURSL() { zoomRow(Geometry::UpperRow, 0); }
void QtQuadView::zoomHLLSL() { zoomRow(Geometry::LowerRow, Geometry::whole); }
void QtQuadView::zoomHLMSL() { zoomRow(Geometry::LowerRow, Geometry::half); }
void QtQuadView::zoomHLRSL() { zoomRow(Geometry::LowerRow, 0); }
void QtQuadView::zoomVULSL() { zoomColumn(Geometry::LeftColumn, Geometry::whole); }
void QtQuadView::zoomVMLSL() { zoomColumn(Geometry::LeftColumn, Geometry::half); }
void QtQuadView::zoomVLLSL() { zoomColumn(Geometry::LeftColumn, 0); }
void QtQuadView::zoomVURSL() { zoomColumn(Geometry::RightColumn, Geometry::whole); }
void QtQuadView::zoomVMRSL() { zoomColumn(Geometry::RightColumn, Geometry::half); }
void QtQuadView::zoomVLRSL() { zoomColumn(Geometry::RightColumn, 0); }
// clang-format on

void QtQuadView::zoomRow(QuadViewGeometry::Row row, int leftWidth) {
    remember();
    m_geometry.splitRow(row, leftWidth);
    applyGeometry();
}

void QtQuadView::zoomColumn(QuadViewGeometry::Column column, int upperHeight) {
    remember();
    m_geometry.splitColumn(column, upperHeight);
    applyGeometry();
}

void QtQuadView::toggleMaximized() {
    maximizeOrRestore(getCurrentView());
}

void QtQuadView::maximizeOrRestore(int view) {
    for (int i = 0; i < getNumberOfViews(); ++i)
        if (m_geometry.extents() == Geometry::maximized(i)) {
            const auto before = m_beforeMaximized.value_or(Geometry().extents());
            m_beforeMaximized.reset();
            remember();
            return changeTo(before);
        }
    for (int i = 0; view < 0 && i < getNumberOfViews(); ++i)
        if (m_geometry.isVisible(i))
            view = i;
    m_beforeMaximized = m_geometry.extents();
    remember();
    changeTo(Geometry::maximized(std::max(0, view)));
}

void QtQuadView::equalize() {
    remember();
    resetShapes();
}

void QtQuadView::undoLayout() {
    if (const auto before = m_history.takeBefore(m_geometry.extents()))
        changeTo(*before);
}

void QtQuadView::forgetLayouts() {
    m_history.clear();
    m_beforeMaximized.reset();
    updateCommands();
}

// What would do nothing cannot be chosen.
void QtQuadView::updateCommands() {
    const Geometry::Extents& extents = m_geometry.extents();
    layoutAction(LayoutCommand::ToggleMaximized)->setEnabled(!m_locked);
    layoutAction(LayoutCommand::Equalize)->setEnabled(!m_locked && extents != Geometry().extents());
    layoutAction(LayoutCommand::Undo)->setEnabled(!m_locked && m_history.hasBefore(extents));
}

void QtQuadView::setViewerDimensions(const QSize& resource0, const QSize& resource1,
                                     const QSize& resource2, const QSize& resource3) {
    const Geometry::Extents extents{resource0, resource1, resource2, resource3};
    remember();
    if (m_geometry.setExtents(extents))
        return changeTo(extents);
    resetShapes();
    vlr::LogStream log = vlr::Log::getInstance("ERROR", logSource, __LINE__);
    log << "Wrong dimensions:\n";
    for (std::size_t i = 0; i < extents.size(); ++i)
        log << "\nr" << i << ": " << extents[i].width() << "/" << extents[i].height();
    log << std::endl;
}

void QtQuadView::resetShapes() {
    for (QtQVViewFrame* view : m_views)
        setViewFrameStyle(view);
    m_geometry.reset();
    applyGeometry();
    updateGeometry();
}

// --- percent

void QtQuadView::dragToPercent(QuadViewGeometry::Splitter splitter, const QPoint& position) {
    m_history.endChange();
    (this->*splitterTable()[splitter].slot)(mapToGlobal(position));
    m_history.endChange();
    applyGeometry();
}

void QtQuadView::setViewDimension(int horizontal, int vertical) {
    if (horizontal < 0 || horizontal > hundred || vertical < 0 || vertical > hundred) {
        complain(__LINE__) << "setViewDimension() invalid dimensions (" << horizontal << ", "
                           << vertical << ")\n";
        return;
    }
    dragToPercent(Geometry::Center,
                  QPoint(percentOf(width(), horizontal), percentOf(height(), vertical)));
}

bool QtQuadView::isPercent(int value, const char* text) const {
    if (value >= 0 && value <= hundred)
        return true;
    complain(__LINE__) << text << " dimensions ( " << value << " )\n";
    return false;
}

bool QtQuadView::isView(int index, const char* caller) const {
    if (index >= 0 && index < getNumberOfViews())
        return true;
    complain(__LINE__) << caller << " invalid index" << index << "\n";
    return false;
}

void QtQuadView::setVViewDimension(int percent) {
    if (isPercent(percent, "setVViewDimension() invalid vertical"))
        dragToPercent(Geometry::VCenter, QPoint(percentOf(width(), percent), 0));
}

void QtQuadView::setVViewDimension(int index, int percent) {
    if (!isPercent(percent, "setVViewDimension() invalid vertical") ||
        !isView(index, "setVViewDimension()"))
        return;
    const int part = percentOf(width(), percent);
    dragToPercent(index < 2 ? Geometry::Up : Geometry::Down,
                  QPoint(index % 2 == 0 ? part : width() - part, 0));
}

void QtQuadView::setHViewDimension(int percent) {
    if (isPercent(percent, "setHViewDimension() invalid horizontal"))
        dragToPercent(Geometry::HCenter, QPoint(0, percentOf(height(), percent)));
}

void QtQuadView::setHViewDimension(int index, int percent) {
    if (!isPercent(percent, "setHViewDimension() invalid horizontal") ||
        !isView(index, "setHViewDimension()"))
        return;
    const int part = percentOf(height(), percent);
    dragToPercent(index % 2 == 0 ? Geometry::Left : Geometry::Right,
                  QPoint(0, index < 2 ? part : height() - part));
}

// --- placing

void QtQuadView::setViewFrameStyle(QFrame* frame) {
    frame->setFrameStyle(int(QFrame::Box) | QFrame::Plain);
    frame->setLineWidth(0);
}

void QtQuadView::resizeEvent(QResizeEvent*) {
    m_halfSplitterWidth = QuadViewGeometry::halfSplitterWidth(width());
    applyGeometry();
}

void QtQuadView::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
}

void QtQuadView::applyGeometry() {
    m_isApplyPending = false;
    calculateViewPos();
    calculateSplitterPos();
    updateCommands();
}

void QtQuadView::calculateViewPos() {
    const QuadViewGeometry::Rects rects = m_geometry.viewRects(size(), m_halfSplitterWidth);
    for (std::size_t i = 0; i < m_views.size(); ++i) {
        const bool isVisible = m_geometry.isVisible(static_cast<int>(i));
        if (isVisible)
            m_views[i]->setGeometry(rects[i]);
        m_views[i]->setVisible(isVisible);
    }
}

void QtQuadView::calculateSplitterPos() {
    const QuadViewGeometry::Bars bars = m_geometry.splitterBars(size(), m_halfSplitterWidth);
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        if (bars[i].visible) {
            m_splitters[i]->setPosition(bars[i].topLeft, bars[i].bottomRight);
            m_splitters[i]->show();
        } else {
            m_splitters[i]->hide();
        }
    }
}

// --- the current view

void QtQuadView::makeCurrent(QtQVViewFrame* frame) {
    m_current = nullptr;
    for (QtQVViewFrame* view : m_views) {
        if (view == frame)
            m_current = view;
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): there are always four views
        view->setFocus(view == frame);
    }
}

void QtQuadView::currentViewChangedSL(QtQVViewFrame* frame) {
    if (frame && frame == m_current)
        return;
    makeCurrent(frame);
    emit currentViewChanged(getCurrentView());
}

void QtQuadView::setFocus(int index) {
    const bool exists = index >= 0 && index < getNumberOfViews();
    makeCurrent(exists ? m_views[static_cast<std::size_t>(index)] : nullptr);
}

void QtQuadView::removeWidget(int index) {
    if (index < 0 || index >= getNumberOfViews())
        return;
    QtQVViewFrame* const view = m_views[static_cast<std::size_t>(index)];
    if (view->contentWidget())
        view->removeWidget();
}

// --- lock, buttons and touch

// clang-format off
void QtQuadView::lockAspectRatio() { setLocked(true); }
void QtQuadView::unlockAspectRatio() { setLocked(false); }
// clang-format on

void QtQuadView::setLocked(bool locked) {
    if (locked == m_locked)
        return;
    m_locked = locked;
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        using S = QtQVSimpleSplitter;
        S* const splitter = m_splitters[i];
        if (locked) {
            disconnect(splitter, &S::mouseMove, this, splitterTable()[i].slot);
            disconnect(splitter, &S::mouseOverWidget, this, &QtQuadView::controlButtonHideTimeSL);
        } else {
            connect(splitter, &S::mouseMove, this, splitterTable()[i].slot);
            connect(splitter, &S::mouseOverWidget, this, &QtQuadView::controlButtonHideTimeSL);
        }
        splitter->setLocked(locked);
    }
    updateCommands();
    emit aspectRatioLockChanged(locked);
}

void QtQuadView::tellLocked(const QPoint& globalPosition) {
    QToolTip::showText(globalPosition, tr("The layout is locked in this step."), this);
}

// The buttons vanish a while after the pointer last came or went, even if it rests on a splitter.
void QtQuadView::controlButtonHideTimeSL(bool over) {
    if (over) {
        m_hideTimer->stop();
        for (QtQVSimpleSplitter* splitter : m_splitters)
            splitter->showButtons(true);
    } else {
        m_hideTimer->setSingleShot(true);
    }
    m_hideTimer->start(vlr::quadView::expandButtonTimeout.get());
}

void QtQuadView::hideButtonsSL() {
    for (QtQVSimpleSplitter* splitter : m_splitters)
        splitter->showButtons(false);
}

void QtQuadView::enableTouchscreenMode(bool onOrOff) {
    for (const Geometry::Splitter splitter :
         {Geometry::HCenter, Geometry::VCenter, Geometry::Center})
        m_splitters[splitter]->enableTouchScreenMode(onOrOff);
    for (QtQVSimpleSplitter* splitter : m_splitters)
        splitter->sizeForFinger(onOrOff);
}
