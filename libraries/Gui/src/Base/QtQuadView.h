#pragma once

#include "Base/LayoutHistory.h"
#include "Base/QuadViewGeometry.h"
#include "vlrGuiExport.h"

#include <QtWidgets/QSizePolicy>
#include <QtWidgets/QWidget>

#include <array>

class LayoutCommands;
class QAction;
class QFrame;
class QTimer;
class QtQVSimpleSplitter;
class QtQVViewFrame;

/// The viewer area of an application: four views in a two-by-two arrangement that the user
/// resizes, collapses and expands with seven draggable splitter pieces.
///
///     auto* view = new QtQuadView;
///     view->getView(0)->layout()->addWidget(axial);
///     view->setViewDimension(60, 50);     // percent: the left column and the upper row
///     connect(view, &QtQuadView::currentViewChanged, this, &Module::showControlsOf);
///
/// Views are numbered 0 upper left, 1 upper right, 2 lower left, 3 lower right. The layout is
/// kept as per-mille (0 to 1000) of the view's own size, one QSize(width, height) per view; a
/// view with a zero extent is hidden. The percent setters go the way of a drag and snap as one
/// does. What is out of range is logged and changes nothing. While the hand drags, extents change
/// at once and the widgets with the next round of the event loop, once for all moves that waited.
///
/// By keyboard, while the focus is in one of the views: Ctrl+M maximises the view with the focus
/// and brings the layout back, Ctrl+E makes all views alike, Ctrl+Z takes the last change of the
/// layout back. An action or shortcut of the application with the same keys wins, also while it
/// is disabled; a view's content that edits text keeps them as well. Other keys, or none:
///
///     view->layoutAction(QtQuadView::LayoutCommand::Undo)->setShortcut(Qt::CTRL + Qt::Key_U);
///     view->layoutAction(QtQuadView::LayoutCommand::Equalize)->setShortcut(QKeySequence());
///     view->layoutAction(QtQuadView::LayoutCommand::ToggleMaximized)->setVisible(false);
///
/// The last one is neither in the menu nor on a key any more. Whether an action is enabled is the
/// view's to say: it is where it would change something.
///
/// The context menu offers the same, and what the application adds with addAction(). With the
/// mouse it opens when the right button is released where it was pressed, so that a drag with that
/// button goes on undisturbed. A view's content with a context menu of its own keeps it; one that
/// wants no menu at all opts out with setContextMenuPolicy(Qt::PreventContextMenu). The same with
/// Qt::NoContextMenu on the QtQuadView switches the menu off for all views.
///
/// Settings under "Velora/Application/QtQuadView/": "ExpandButtonTimeoutInMS" (2000),
/// "InitialSize" (1024 x 1024), and those of the frames and splitters.
class VLR_GUI_EXPORT QtQuadView : public QWidget {
    Q_OBJECT

public:
    enum class LayoutCommand { ToggleMaximized, Equalize, Undo };

    explicit QtQuadView(QWidget* parent = nullptr, Qt::WindowFlags f = Qt::WindowFlags());
    ~QtQuadView() override;

    int getNumberOfViews() const { return QuadViewGeometry::viewCount; }
    QWidget* getView(int index); ///< The frame of the view; the index must lie in 0 to 3.
    int getCurrentView();        ///< -1 when there is none.
    /// For its keys (one key with its modifiers), its text, or a place in a tool bar; owned by the
    /// view. In a tool bar ToggleMaximized is about the current view.
    QAction* layoutAction(LayoutCommand command) const;
    bool isAspectRatioLocked() const { return m_locked; }
    /// The four extents in per-mille.
    void viewerDimensions(QSize& r0, QSize& r1, QSize& r2, QSize& r3);
    QSize sizeHint() const override; ///< The setting "InitialSize", within what widgets can be.
    QSizePolicy sizePolicy() const { return {QSizePolicy::Expanding, QSizePolicy::Expanding}; }
    using QWidget::setFocus;

signals:
    void currentViewChanged(int index); ///< -1 when no view is current any more.
    void aspectRatioLockChanged(bool locked);

public slots:
    void removeWidget(int index); ///< Closes and deletes the content of the view, if it has any.
    /// Makes a view current without telling anybody; no view for an index outside 0 to 3.
    void setFocus(int index);
    void setViewDimension(int horizontal, int vertical); ///< Percent of the upper left view.
    void lockAspectRatio(); ///< Freezes the layout for the hand; calls still change it.
    void unlockAspectRatio();
    void setVViewDimension(int percent);            ///< Width of the left views.
    void setVViewDimension(int index, int percent); ///< Width of one view.
    void setHViewDimension(int percent);            ///< Height of the upper views.
    void setHViewDimension(int index, int percent); ///< Height of one view.
    /// Gives the three centre pieces handles for the finger, or takes them away, and makes the
    /// expand buttons large enough for it.
    void enableTouchscreenMode(bool onOrOff);
    /// Per-mille, without snapping. Where a row or a column does not add up to 1000, all views
    /// become a quarter.
    void setViewerDimensions(const QSize& resource0, const QSize& resource1, const QSize& resource2,
                             const QSize& resource3);

    /// The current view over the whole area, or, when it is, the layout from before.
    void toggleMaximized();
    void equalize();   ///< All views a quarter.
    void undoLayout(); ///< The layout before the last change; a whole drag is one change.
    /// There is nothing to undo or to restore from here on: somebody else's layout begins.
    void forgetLayouts();

protected:
    /// Gives a frame its style; called at construction and by every reset of the layout.
    virtual void setViewFrameStyle(QFrame* frame);
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private slots:
    void m_splitterUPSL(QPoint position);
    void m_splitterDOWNSL(QPoint position);
    void m_splitterLEFTSL(QPoint position);
    void m_splitterRIGHTSL(QPoint position);
    void m_splitterH_CENTERSL(QPoint position);
    void m_splitterV_CENTERSL(QPoint position);
    void m_splitterCENTERSL(QPoint position);
    void zoomHULSL();
    void zoomHUMSL();
    void zoomHURSL();
    void zoomHLLSL();
    void zoomHLMSL();
    void zoomHLRSL();
    void zoomVULSL();
    void zoomVMLSL();
    void zoomVURSL();
    void zoomVLLSL();
    void zoomVMRSL();
    void zoomVLRSL();
    void hideButtonsSL();
    void controlButtonHideTimeSL(bool over);
    void currentViewChangedSL(QtQVViewFrame* frame);

private:
    struct SplitterRow;
    static const std::array<SplitterRow, QuadViewGeometry::splitterCount>& splitterTable();

    void createViews();
    void createSplitters();
    void createCommands();
    void updateCommands();
    void maximizeOrRestore(int view);
    void resetShapes();
    void drag(QuadViewGeometry::Splitter splitter, const QPoint& globalPosition);
    void dragToPercent(QuadViewGeometry::Splitter splitter, const QPoint& position);
    void zoomRow(QuadViewGeometry::Row row, int leftWidth);
    void zoomColumn(QuadViewGeometry::Column column, int upperHeight);
    bool isPercent(int value, const char* text) const;
    bool isView(int index, const char* caller) const;
    /// A negative source is a change of its own; see LayoutHistory.
    void remember(int source = -1);
    void changeTo(const QuadViewGeometry::Extents& extents);
    void applyGeometry();
    void calculateViewPos();
    void calculateSplitterPos();
    void makeCurrent(QtQVViewFrame* frame);
    void setLocked(bool locked);
    void tellLocked(const QPoint& globalPosition);

    LayoutCommands* m_commands = nullptr;
    std::array<QtQVViewFrame*, QuadViewGeometry::viewCount> m_views{};
    QtQVViewFrame* m_current = nullptr;
    QuadViewGeometry m_geometry;
    std::array<QtQVSimpleSplitter*, QuadViewGeometry::splitterCount> m_splitters{};
    int m_halfSplitterWidth = 3;
    QTimer* m_hideTimer = nullptr;
    bool m_locked = false;
    bool m_isApplyPending = false;
    LayoutHistory m_history;
    std::optional<QuadViewGeometry::Extents> m_beforeMaximized;
};
