#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSize>

#include <array>

/// The arithmetic of the four-view layout: values in, values out, no widget and no settings.
///
///     QuadViewGeometry layout;
///     layout.drag(QuadViewGeometry::Up, QPoint(300, 0), area);    // upper row 30 : 70
///     const auto views = layout.viewRects(area, halfSplitterWidth(area.width()));
///
/// Views are numbered 0 upper left, 1 upper right, 2 lower left, 3 lower right. The layout is
/// four extents (width, height) in per-mille (0 to 1000) of the whole area; a view with a zero
/// extent is hidden. Points and areas are in pixels. Every change keeps the two widths of a row
/// and the two heights of a column adding up to 1000.
class VLR_GUI_EXPORT QuadViewGeometry {
public:
    static constexpr int viewCount = 4;
    static constexpr int splitterCount = 7;
    static constexpr int whole = 1000; ///< Per-mille of the area.
    static constexpr int half = 500;

    /// The seven pieces: UP and DOWN divide a row, LEFT and RIGHT a column; H_CENTER and V_CENTER
    /// join pieces that are not aligned; CENTER is the crossing of pieces that are.
    enum Splitter { Up, Down, Left, Right, HCenter, VCenter, Center };
    enum Row { UpperRow, LowerRow };
    enum Column { LeftColumn, RightColumn };

    using Extents = std::array<QSize, viewCount>;
    using Rects = std::array<QRect, viewCount>;

    /// Where a splitter piece lies: the inclusive corners of its bar. The corners of a piece that
    /// has no room may be in the wrong order.
    struct Bar {
        bool visible = false;
        QPoint topLeft;
        QPoint bottomRight;
    };
    using Bars = std::array<Bar, splitterCount>;

    QuadViewGeometry();

    const Extents& extents() const { return m_extents; }
    bool isVisible(int view) const;

    /// One view (0 to 3) over the whole area.
    static Extents maximized(int view);

    /// All views a quarter.
    void reset();
    /// Takes the extents as they are. Refused, without any change, where a row's widths or a
    /// column's heights do not add up to 1000 or an extent lies outside 0 to 1000.
    bool setExtents(const Extents& extents);
    /// Moves a piece to the pointer. Nothing happens in an area without width or height.
    void drag(Splitter splitter, const QPoint& pointer, const QSize& area);
    /// Gives the left view of a row this much of it (per-mille).
    void splitRow(Row row, int leftWidth);
    /// Gives the upper view of a column this much of it (per-mille).
    void splitColumn(Column column, int upperHeight);

    /// The view rectangles in an area; a null rectangle for a hidden view. One that has no room
    /// is not valid.
    Rects viewRects(const QSize& area, int halfSplitterWidth) const;
    Bars splitterBars(const QSize& area, int halfSplitterWidth) const;

    /// A position along an axis in per-mille with snapping: to 0 below 50, to the reference
    /// within 50 of it, to 500 from 471 to 529, to 1000 above 950; tested in this order.
    static int toPerMille(int position, int length, int reference);
    /// 3, 5 or 7 pixels, by the width of the area.
    static int halfSplitterWidth(int areaWidth);

private:
    void setRow(Row row, int leftWidth);
    void setColumn(Column column, int upperHeight);
    void repairHeights();
    void repairWidths();

    Extents m_extents;
};
