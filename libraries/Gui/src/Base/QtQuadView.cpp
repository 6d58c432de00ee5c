#include "Base/QtQuadView.h"

#include "Base/LayoutPictures.h"
#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QAction>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QToolTip>

#include <vector>

namespace {

using Geometry = QuadViewGeometry;

constexpr const char* logSource = "QtQuadView";
constexpr int hundred = 100;

QString key(const char* name) {
    return QStringLiteral("Velora/Application/QtQuadView/") + QString::fromLatin1(name);
}

int expandButtonTimeout() {
    return vlr::Settings::get(key("ExpandButtonTimeoutInMS"), 2000, 0);
}

int percentOf(int length, int percent) {
    return static_cast<int>(qint64(length) * percent / hundred);
}

Geometry::Extents maximized(int view) {
    const bool isLeft = view % 2 == 0;
    const bool isUpper = view < 2;
    const int left = isLeft ? Geometry::whole : 0;
    const int upper = isUpper ? Geometry::whole : 0;
    const int right = Geometry::whole - left;
    const int lower = Geometry::whole - upper;
    return {{{left, upper}, {right, upper}, {left, lower}, {right, lower}}};
}

} // namespace

/// What the seven pieces are made of.
struct QtQuadView::SplitterRow {
    struct Button {
        vlr::ExpandPicture picture;
        const char* text;
        void (QtQuadView::*slot)();
    };
    int orientation;
    int position;
    void (QtQuadView::*slot)(QPoint);
    std::vector<Button> buttons;
};

const std::array<QtQuadView::SplitterRow, QuadViewGeometry::splitterCount>&
QtQuadView::splitterTable() {
    using P = vlr::ExpandPicture;
    using Q = QtQuadView;
    constexpr int across = QtQVSplitterFrame::Horizontal;
    constexpr int upright = QtQVSplitterFrame::Vertical;
    constexpr int cross = QtQVSplitterFrame::Cross;
    static const char* const right = QT_TR_NOOP("Right view over the whole row");
    static const char* const columns = QT_TR_NOOP("Both views of the row alike");
    static const char* const left = QT_TR_NOOP("Left view over the whole row");
    static const char* const lower = QT_TR_NOOP("Lower view over the whole column");
    static const char* const rows = QT_TR_NOOP("Both views of the column alike");
    static const char* const upper = QT_TR_NOOP("Upper view over the whole column");
    static const std::array<SplitterRow, QuadViewGeometry::splitterCount> table{{
        {upright,
         0,
         &Q::m_splitterUPSL,
         {{P::Right, right, &Q::zoomHURSL},
          {P::BothColumns, columns, &Q::zoomHUMSL},
          {P::Left, left, &Q::zoomHULSL}}},
        {upright,
         2,
         &Q::m_splitterDOWNSL,
         {{P::Right, right, &Q::zoomHLRSL},
          {P::BothColumns, columns, &Q::zoomHLMSL},
          {P::Left, left, &Q::zoomHLLSL}}},
        {across,
         0,
         &Q::m_splitterLEFTSL,
         {{P::Lower, lower, &Q::zoomVLLSL},
          {P::BothRows, rows, &Q::zoomVMLSL},
          {P::Upper, upper, &Q::zoomVULSL}}},
        {across,
         2,
         &Q::m_splitterRIGHTSL,
         {{P::Lower, lower, &Q::zoomVLRSL},
          {P::BothRows, rows, &Q::zoomVMRSL},
          {P::Upper, upper, &Q::zoomVURSL}}},
        {across, 1, &Q::m_splitterH_CENTERSL, {}},
        {upright, 1, &Q::m_splitterV_CENTERSL, {}},
        {cross, 1, &Q::m_splitterCENTERSL, {}},
    }};
    return table;
}

QtQuadView::QtQuadView(QWidget* parent, Qt::WindowFlags f) : QWidget(parent, f) {
    setSizePolicy(sizePolicy());
    updateGeometry();
    createViews();
    createSplitters();
    m_locked = true;
    unlockAspectRatio();
    m_hideTimer = new QTimer(this);
    connect(m_hideTimer, &QTimer::timeout, this, &QtQuadView::hideButtonsSL);
    m_hideTimer->setSingleShot(true);
    m_hideTimer->start(expandButtonTimeout());
    resetShapes();
    createActions();
}

QtQuadView::~QtQuadView() = default;

void QtQuadView::createViews() {
    for (QtQVViewFrame*& view : m_views) {
        view = new QtQVViewFrame(this);
        setViewFrameStyle(view);
        connect(view, &QtQVViewFrame::getFocus, this, &QtQuadView::currentViewChangedSL);
    }
}

void QtQuadView::createSplitters() {
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        const SplitterRow& row = splitterTable()[i];
        auto* const splitter = new QtQVSimpleSplitter(this, row.orientation, row.position);
        m_splitters[i] = splitter;
        for (const SplitterRow::Button& button : row.buttons) {
            QPushButton* const widget = splitter->createButton(nullptr);
            const vlr::ExpandPicture picture = button.picture;
            constexpr QSize size(vlr::expandPictureSide, vlr::expandPictureSide);
            widget->setIcon(vlr::iconOf(
                size, [picture](qreal ratio) { return vlr::expandPixmap(picture, ratio); }));
            widget->setIconSize(size);
            widget->setToolTip(tr(button.text));
            widget->setAccessibleName(tr(button.text));
            connect(widget, &QPushButton::clicked, this, button.slot);
        }
        connect(splitter, &QtQVSimpleSplitter::dragFinished, this,
                [this] { m_history.endChange(); });
        connect(splitter, &QtQVSimpleSplitter::lockedPressed, this, &QtQuadView::tellLocked);
    }
}

void QtQuadView::createActions() {
    setContextMenuPolicy(Qt::ActionsContextMenu);
    addLayoutAction(tr("Maximise or restore the current view"), QKeySequence(tr("Ctrl+M")),
                    &QtQuadView::toggleMaximized);
    addLayoutAction(tr("All views alike"), QKeySequence(tr("Ctrl+E")), &QtQuadView::equalize);
    addLayoutAction(tr("Undo the last change of the layout"), QKeySequence(tr("Ctrl+Z")),
                    &QtQuadView::undoLayout);
}

void QtQuadView::addLayoutAction(const QString& text, const QKeySequence& keys,
                                 void (QtQuadView::*slot)()) {
    auto* const action = new QAction(text, this);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(action);
    connect(action, &QAction::triggered, this, [this, slot] {
        if (m_locked)
            tellLocked(mapToGlobal(rect().center()));
        else
            (this->*slot)();
    });
}

// --- queries

QWidget* QtQuadView::getView(int index) {
    return m_views[static_cast<std::size_t>(index)];
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
    return vlr::Settings::get(key("InitialSize"), QSize(1024, 1024)).boundedTo(most);
}

QSizePolicy QtQuadView::sizePolicy() const {
    return {QSizePolicy::Expanding, QSizePolicy::Expanding, QSizePolicy::DefaultType};
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
    for (int view = 0; view < getNumberOfViews(); ++view)
        if (m_geometry.extents() == maximized(view)) {
            const QuadViewGeometry::Extents before =
                m_beforeMaximized.value_or(QuadViewGeometry().extents());
            m_beforeMaximized.reset();
            remember();
            return changeTo(before);
        }
    int view = getCurrentView();
    for (int i = getNumberOfViews() - 1; i >= 0 && getCurrentView() < 0; --i)
        if (m_geometry.isVisible(i) || i == 0)
            view = i;
    m_beforeMaximized = m_geometry.extents();
    remember();
    changeTo(maximized(view));
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
}

void QtQuadView::setViewerDimensions(const QSize& resource0, const QSize& resource1,
                                     const QSize& resource2, const QSize& resource3) {
    remember();
    if (m_geometry.setExtents({resource0, resource1, resource2, resource3})) {
        applyGeometry();
        updateGeometry();
        return;
    }
    resetShapes();
    vlr::LogStream log = vlr::Log::getInstance("ERROR", logSource, __LINE__);
    log << "Wrong dimensions:\n";
    int index = 0;
    for (const QSize& size : {resource0, resource1, resource2, resource3})
        log << "\nr" << index++ << ": " << size.width() << "/" << size.height();
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
        vlr::Log::getInstance("CaERROR", logSource, __LINE__)
            << "setViewDimension() invalid dimensions (" << horizontal << ", " << vertical << ")\n";
        return;
    }
    dragToPercent(Geometry::Center,
                  QPoint(percentOf(width(), horizontal), percentOf(height(), vertical)));
}

bool QtQuadView::isPercent(int value, const char* text) const {
    if (value >= 0 && value <= hundred)
        return true;
    vlr::Log::getInstance("CaERROR", logSource, __LINE__)
        << text << " dimensions ( " << value << " )\n";
    return false;
}

void QtQuadView::setVViewDimension(int percent) {
    if (isPercent(percent, "setVViewDimension() invalid vertical"))
        dragToPercent(Geometry::VCenter, QPoint(percentOf(width(), percent), 0));
}

void QtQuadView::setVViewDimension(int index, int percent) {
    if (!isPercent(percent, "setVViewDimension() invalid vertical"))
        return;
    const int part = percentOf(width(), percent);
    switch (index) {
    case 0:
        return dragToPercent(Geometry::Up, QPoint(part, 0));
    case 1:
        return dragToPercent(Geometry::Up, QPoint(width() - part, 0));
    case 2:
        return dragToPercent(Geometry::Down, QPoint(part, 0));
    case 3:
        return dragToPercent(Geometry::Down, QPoint(width() - part, 0));
    default:
        vlr::Log::getInstance("CaERROR", logSource, __LINE__)
            << "setVViewDimension() invalid index" << index << "\n";
    }
}

void QtQuadView::setHViewDimension(int percent) {
    if (isPercent(percent, "setHViewDimension() invalid horizontal"))
        dragToPercent(Geometry::HCenter, QPoint(0, percentOf(height(), percent)));
}

void QtQuadView::setHViewDimension(int index, int percent) {
    if (!isPercent(percent, "setHViewDimension() invalid horizontal"))
        return;
    const int part = percentOf(height(), percent);
    switch (index) {
    case 0:
        return dragToPercent(Geometry::Left, QPoint(0, part));
    case 1:
        return dragToPercent(Geometry::Right, QPoint(0, part));
    case 2:
        return dragToPercent(Geometry::Left, QPoint(0, height() - part));
    case 3:
        return dragToPercent(Geometry::Right, QPoint(0, height() - part));
    default:
        vlr::Log::getInstance("CaERROR", logSource, __LINE__)
            << "setHViewDimension() invalid index" << index << "\n";
    }
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

void QtQuadView::lockAspectRatio() {
    if (m_locked)
        return;
    m_locked = true;
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        QtQVSimpleSplitter* const splitter = m_splitters[i];
        disconnect(splitter, &QtQVSimpleSplitter::mouseMove, this, splitterTable()[i].slot);
        disconnect(splitter, &QtQVSimpleSplitter::mouseOverWidget, this,
                   &QtQuadView::controlButtonHideTimeSL);
        splitter->setLocked(true);
    }
    emit aspectRatioLockChanged(true);
}

void QtQuadView::unlockAspectRatio() {
    if (!m_locked)
        return;
    m_locked = false;
    for (std::size_t i = 0; i < m_splitters.size(); ++i) {
        QtQVSimpleSplitter* const splitter = m_splitters[i];
        connect(splitter, &QtQVSimpleSplitter::mouseMove, this, splitterTable()[i].slot);
        connect(splitter, &QtQVSimpleSplitter::mouseOverWidget, this,
                &QtQuadView::controlButtonHideTimeSL);
        splitter->setLocked(false);
    }
    emit aspectRatioLockChanged(false);
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
    m_hideTimer->start(expandButtonTimeout());
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
