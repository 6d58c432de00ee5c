#include "Base/QuadViewGeometry.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int collapse = 50;  // nearer than this to an end collapses a view
constexpr int alignment = 50; // nearer than this to the other splitter aligns with it
constexpr int middleFrom = 471;
constexpr int middleTo = 529;
constexpr int expandAbove = 950;
constexpr int alignedPixels = 21; // splitters nearer than this are drawn as one

enum View : std::size_t { UpperLeft, UpperRight, LowerLeft, LowerRight };

int pixels(int length, int perMille) {
    return static_cast<int>(qint64(length) * perMille / QuadViewGeometry::whole);
}

bool isShare(int perMille) {
    return perMille >= 0 && perMille <= QuadViewGeometry::whole;
}

} // namespace

QuadViewGeometry::QuadViewGeometry() {
    reset();
}

void QuadViewGeometry::reset() {
    m_extents.fill(QSize(half, half));
}

bool QuadViewGeometry::isVisible(int view) const {
    const QSize& extent = m_extents[static_cast<std::size_t>(view)];
    return extent.width() != 0 && extent.height() != 0;
}

QuadViewGeometry::Extents QuadViewGeometry::maximized(int view) {
    const int left = view % 2 == 0 ? whole : 0;
    const int upper = view < 2 ? whole : 0;
    return {{{left, upper},
             {whole - left, upper},
             {left, whole - upper},
             {whole - left, whole - upper}}};
}

bool QuadViewGeometry::setExtents(const Extents& extents) {
    const bool isInRange = std::all_of(extents.begin(), extents.end(), [](const QSize& extent) {
        return isShare(extent.width()) && isShare(extent.height());
    });
    if (!isInRange || extents[UpperLeft].width() + extents[UpperRight].width() != whole ||
        extents[LowerLeft].width() + extents[LowerRight].width() != whole ||
        extents[UpperLeft].height() + extents[LowerLeft].height() != whole ||
        extents[UpperRight].height() + extents[LowerRight].height() != whole)
        return false;
    m_extents = extents;
    return true;
}

int QuadViewGeometry::toPerMille(int position, int length, int reference) {
    const auto share = static_cast<int>(qint64(position) * whole / length);
    if (share < collapse)
        return 0;
    if (std::abs(share - reference) < alignment)
        return reference;
    if (share >= middleFrom && share <= middleTo)
        return half;
    return share <= expandAbove ? share : whole;
}

void QuadViewGeometry::drag(Splitter splitter, const QPoint& pointer, const QSize& area) {
    if (area.isEmpty())
        return;
    const auto x = [&](int reference) { return toPerMille(pointer.x(), area.width(), reference); };
    const auto y = [&](int reference) { return toPerMille(pointer.y(), area.height(), reference); };
    switch (splitter) {
    case Up:
        return splitRow(UpperRow, x(m_extents[LowerLeft].width()));
    case Down:
        return splitRow(LowerRow, x(m_extents[UpperLeft].width()));
    case Left:
        return splitColumn(LeftColumn, y(m_extents[UpperRight].height()));
    case Right:
        return splitColumn(RightColumn, y(m_extents[UpperLeft].height()));
    case HCenter:
    case VCenter:
    case Center:
        break;
    }
    // These set both rows, both columns or all; there is nothing to be repaired after them.
    if (splitter != HCenter) {
        const int leftWidth = x(0);
        setRow(UpperRow, leftWidth);
        setRow(LowerRow, leftWidth);
    }
    if (splitter != VCenter) {
        const int upperHeight = y(0);
        setColumn(LeftColumn, upperHeight);
        setColumn(RightColumn, upperHeight);
    }
}

void QuadViewGeometry::splitRow(Row row, int leftWidth) {
    setRow(row, leftWidth);
    repairHeights();
}

void QuadViewGeometry::splitColumn(Column column, int upperHeight) {
    setColumn(column, upperHeight);
    repairWidths();
}

void QuadViewGeometry::setRow(Row row, int leftWidth) {
    const std::size_t left = row == UpperRow ? UpperLeft : LowerLeft;
    m_extents[left].setWidth(leftWidth);
    m_extents[left + 1].setWidth(whole - leftWidth);
}

void QuadViewGeometry::setColumn(Column column, int upperHeight) {
    const std::size_t upper = column == LeftColumn ? UpperLeft : UpperRight;
    m_extents[upper].setHeight(upperHeight);
    m_extents[upper + 2].setHeight(whole - upperHeight);
}

// Rows of their own widths need columns of one height, or views would overlap.
void QuadViewGeometry::repairHeights() {
    if (m_extents[UpperLeft].height() == m_extents[UpperRight].height() &&
        m_extents[LowerLeft].height() == m_extents[LowerRight].height())
        return;
    for (QSize& extent : m_extents)
        extent.setHeight(half);
}

void QuadViewGeometry::repairWidths() {
    if (m_extents[UpperLeft].width() == m_extents[LowerLeft].width() &&
        m_extents[UpperRight].width() == m_extents[LowerRight].width())
        return;
    for (QSize& extent : m_extents)
        extent.setWidth(half);
}

int QuadViewGeometry::halfSplitterWidth(int areaWidth) {
    const int thousands = areaWidth / 1000;
    if (thousands < 3)
        return 3;
    return thousands > 7 ? 7 : 5;
}

QuadViewGeometry::Rects QuadViewGeometry::viewRects(const QSize& area, int h) const {
    const int W = area.width();
    const int H = area.height();
    const int m = 2 * h;
    Rects rects;
    for (std::size_t view = 0; view < rects.size(); ++view) {
        if (!isVisible(static_cast<int>(view)))
            continue;
        const int width = pixels(W, m_extents[view].width());
        const int height = pixels(H, m_extents[view].height());
        const bool isLeft = view % 2 == 0;
        const bool isUpper = view < 2;
        const QPoint topLeft(isLeft ? m : W - width + h, isUpper ? m : H - height + h);
        const QPoint bottomRight(isLeft ? width - h : W - m - 1, isUpper ? height - h : H - m - 1);
        rects[view] = QRect(topLeft, bottomRight);
    }
    return rects;
}

QuadViewGeometry::Bars QuadViewGeometry::splitterBars(const QSize& area, int h) const {
    const int W = area.width();
    const int H = area.height();
    const int m = 2 * h;
    int xUp = pixels(W, m_extents[UpperLeft].width());
    const int xDown = W - pixels(W, m_extents[LowerRight].width());
    int yLeft = pixels(H, m_extents[UpperLeft].height());
    const int yRight = H - pixels(H, m_extents[LowerRight].height());
    if (std::abs(xUp - xDown) < alignedPixels)
        xUp = xDown;
    if (std::abs(yLeft - yRight) < alignedPixels)
        yLeft = yRight;
    const int xMin = std::min(xUp, xDown);
    const int xMax = std::max(xUp, xDown);
    const int yMin = std::min(yLeft, yRight);
    const int yMax = std::max(yLeft, yRight);

    // The first two test against the near edge, the next two against the far one, and not all of
    // them their own position: so a piece at an edge can still be pulled out again.
    Bars bars;
    bars[Up] = {yLeft != 0, {xUp - h + 1, m}, {xUp + h - 1, yMin - h}};
    bars[Down] = {yRight != H, {xDown - h + 1, yMax + h}, {xDown + h - 1, H - 1 - m}};
    bars[Left] = {xDown != 0, {m, yLeft - h + 1}, {xMin - h, yLeft + h - 1}};
    bars[Right] = {xDown != W, {xMax + h, yRight - h + 1}, {W - 1 - m, yRight + h - 1}};
    bars[HCenter] = {xUp != xDown, {xMin + h, yLeft - h + 1}, {xMax - h, yLeft + h - 1}};
    bars[VCenter] = {yLeft != yRight, {xUp - h + 1, yMin + h}, {xUp + h - 1, yMax - h}};
    bars[Center] = {xUp == xDown && yLeft == yRight,
                    {xUp - h + 1, yLeft - h + 1},
                    {xUp + h - 1, yLeft + h - 1}};
    return bars;
}
