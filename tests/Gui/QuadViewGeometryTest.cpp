#include "Base/QuadViewGeometry.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Geometry = QuadViewGeometry;
using Extents = Geometry::Extents;

Geometry layout(const Extents& extents) {
    Geometry geometry;
    EXPECT_TRUE(geometry.setExtents(extents));
    return geometry;
}

std::string text(const QPoint& point) {
    return std::to_string(point.x()) + "," + std::to_string(point.y());
}

std::string text(const QRect& rect) {
    return rect.isNull() ? "hidden" : text(rect.topLeft()) + " " + text(rect.bottomRight());
}

std::string text(const Geometry::Bar& bar) {
    return bar.visible ? text(bar.topLeft) + " " + text(bar.bottomRight) : "hidden";
}

std::string text(const Extents& extents) {
    std::string result;
    for (const QSize& extent : extents)
        result += std::to_string(extent.width()) + "x" + std::to_string(extent.height()) + " ";
    return result;
}

} // namespace

// Worked out by hand.
TEST(QuadViewGeometry, PlacesViewsAndSplitters) {
    const struct {
        const char* name;
        QSize area;
        Extents extents;
        int halfWidth;
        std::array<const char*, Geometry::viewCount> views;
        std::array<const char*, Geometry::splitterCount> bars;
    } cases[] = {
        {"quarters of an odd size, aligned in spite of rounding",
         {1003, 777},
         {{{500, 500}, {500, 500}, {500, 500}, {500, 500}}},
         3,
         {"6,6 498,385", "505,6 996,385", "6,392 498,770", "505,392 996,770"},
         {"500,6 504,386", "500,392 504,770", "6,387 499,391", "505,387 996,391", "hidden",
          "hidden", "500,387 504,391"}},
        {"rows divided differently on a wide screen",
         {3200, 1000},
         {{{300, 500}, {700, 500}, {600, 500}, {400, 500}}},
         5,
         {"10,10 955,495", "965,10 3189,495", "10,505 1915,989", "1925,505 3189,989"},
         {"956,10 964,495", "1916,505 1924,989", "10,496 955,504", "1925,496 3189,504",
          "965,496 1915,504", "hidden", "hidden"}},
        {"columns divided differently",
         {1000, 800},
         {{{400, 250}, {600, 750}, {400, 750}, {600, 250}}},
         3,
         {"6,6 397,197", "403,6 993,597", "6,203 397,793", "403,603 993,793"},
         {"398,6 402,197", "398,603 402,793", "6,198 397,202", "403,598 993,602", "hidden",
          "398,203 402,597", "hidden"}},
        {"upper left view alone",
         {1000, 1000},
         {{{1000, 1000}, {0, 1000}, {1000, 0}, {0, 0}}},
         3,
         {"6,6 997,997", "hidden", "hidden", "hidden"},
         {"998,6 1002,997", "hidden", "6,998 997,1002", "hidden", "hidden", "hidden",
          "998,998 1002,1002"}},
        {"lower right view alone",
         {1000, 1000},
         {{{0, 0}, {1000, 0}, {0, 1000}, {1000, 1000}}},
         3,
         {"hidden", "hidden", "hidden", "3,3 993,993"},
         {"hidden", "-2,3 2,993", "hidden", "3,-2 993,2", "hidden", "hidden", "-2,-2 2,2"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(Geometry::halfSplitterWidth(c.area.width()), c.halfWidth);
        const Geometry geometry = layout(c.extents);
        const Geometry::Rects views = geometry.viewRects(c.area, c.halfWidth);
        for (std::size_t i = 0; i < views.size(); ++i)
            EXPECT_EQ(text(views[i]), c.views[i]) << "view " << i;
        const Geometry::Bars bars = geometry.splitterBars(c.area, c.halfWidth);
        for (std::size_t i = 0; i < bars.size(); ++i)
            EXPECT_EQ(text(bars[i]), c.bars[i]) << "splitter " << i;
    }
}

TEST(QuadViewGeometry, SplittersNearerThan21PixelsAreDrawnAsOne) {
    const std::tuple<int, const char*, const char*> cases[] = {
        {320, "318,6 322,497", "hidden"}, {321, "298,6 302,497", "303,498 318,502"}};
    for (const auto& [left, up, centre] : cases) {
        const Geometry geometry =
            layout({{{300, 500}, {700, 500}, {left, 500}, {1000 - left, 500}}});
        const Geometry::Bars bars = geometry.splitterBars({1000, 1000}, 3);
        EXPECT_EQ(text(bars[Geometry::Up]), up);
        EXPECT_EQ(text(bars[Geometry::HCenter]), centre);
    }
}

TEST(QuadViewGeometry, SplittersAreWiderOnWiderScreens) {
    const std::vector<std::pair<int, int>> cases = {{1, 3},    {2999, 3}, {3000, 5},
                                                    {7999, 5}, {8000, 7}, {12000, 7}};
    for (const auto& [width, half] : cases)
        EXPECT_EQ(Geometry::halfSplitterWidth(width), half) << width;
}

TEST(QuadViewGeometry, SnapsInOrder) {
    const struct {
        int position, length, reference, expected;
    } cases[] = {
        {-20, 1000, 0, 0},     {49, 1000, 45, 0},     {50, 1000, 99, 99},    {50, 1000, 100, 50},
        {470, 1000, 0, 470},   {471, 1000, 0, 500},   {529, 1000, 0, 500},   {530, 1000, 0, 530},
        {480, 1000, 440, 440}, {500, 1000, 451, 451}, {500, 1000, 450, 500}, {950, 1000, 0, 950},
        {951, 1000, 0, 1000},  {960, 1000, 955, 955}, {1200, 1000, 0, 1000}, {1, 3, 0, 333},
        {999, 1999, 0, 500},   {7999, 8000, 0, 1000}, {400, 8000, 0, 50},    {399, 8000, 0, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Geometry::toPerMille(c.position, c.length, c.reference), c.expected)
            << c.position << " of " << c.length << " beside " << c.reference;
}

TEST(QuadViewGeometry, PiecesAlignAndRepairTheRest) {
    using G = Geometry;
    const Extents rows{{{300, 500}, {700, 500}, {600, 500}, {400, 500}}};    // unequal ones
    const Extents columns{{{500, 300}, {500, 600}, {500, 700}, {500, 400}}}; // unequal ones
    const struct {
        const char* name;
        Extents before;
        G::Splitter splitter;
        QPoint pointer; // in an area of 1000 x 1000
        const char* after;
    } cases[] = {
        {"UP by DOWN", rows, G::Up, {640, 9}, "600x500 400x500 600x500 400x500 "},
        {"DOWN by UP", rows, G::Down, {340, 9}, "300x500 700x500 300x500 700x500 "},
        {"LEFT by RIGHT", columns, G::Left, {9, 649}, "500x600 500x600 500x400 500x400 "},
        {"RIGHT by LEFT", columns, G::Right, {9, 300}, "500x300 500x300 500x700 500x700 "},
        {"UP repairs columns", columns, G::Up, {200, 9}, "200x500 800x500 500x500 500x500 "},
        {"LEFT repairs rows", rows, G::Left, {9, 200}, "500x200 500x500 500x800 500x500 "},
    };
    for (const auto& c : cases) {
        Geometry geometry = layout(c.before);
        geometry.drag(c.splitter, c.pointer, QSize(1000, 1000));
        EXPECT_EQ(text(geometry.extents()), c.after) << c.name;
    }
}

TEST(QuadViewGeometry, RefusesWhatIsNoLayoutAndAnAreaOfNothing) {
    Geometry geometry = layout({{{300, 500}, {700, 500}, {600, 500}, {400, 500}}});
    const std::string before = text(geometry.extents());
    EXPECT_FALSE(geometry.setExtents({{{600, 500}, {500, 500}, {600, 500}, {400, 500}}}));
    EXPECT_FALSE(geometry.setExtents({{{600, 500}, {400, 500}, {600, 400}, {400, 500}}}));
    EXPECT_FALSE(geometry.setExtents({{{1100, 500}, {-100, 500}, {600, 500}, {400, 500}}}));
    geometry.drag(Geometry::Center, QPoint(10, 10), QSize(0, 100));
    geometry.drag(Geometry::Center, QPoint(10, 10), QSize(100, 0));
    EXPECT_EQ(text(geometry.extents()), before);
}
