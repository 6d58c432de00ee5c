#include "Gui/QtQuadViewTest.h"

using namespace vlrTest;

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
    const std::tuple<const char*, QSize, Extents, int, std::array<const char*, Geometry::viewCount>,
                     std::array<const char*, Geometry::splitterCount>>
        cases[] = {
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
    for (const auto& [name, area, extents, halfWidth, expectedViews, expectedBars] : cases) {
        SCOPED_TRACE(name);
        ASSERT_EQ(Geometry::halfSplitterWidth(area.width()), halfWidth);
        const Geometry geometry = layout(extents);
        const Geometry::Rects views = geometry.viewRects(area, halfWidth);
        for (std::size_t i = 0; i < views.size(); ++i)
            EXPECT_EQ(text(views[i]), expectedViews[i]) << "view " << i;
        const Geometry::Bars bars = geometry.splitterBars(area, halfWidth);
        for (std::size_t i = 0; i < bars.size(); ++i)
            EXPECT_EQ(text(bars[i]), expectedBars[i]) << "splitter " << i;
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
    const std::tuple<int, int, int, int> cases[] = {
        {-20, 1000, 0, 0},     {49, 1000, 45, 0},     {50, 1000, 99, 99},    {50, 1000, 100, 50},
        {470, 1000, 0, 470},   {471, 1000, 0, 500},   {529, 1000, 0, 500},   {530, 1000, 0, 530},
        {480, 1000, 440, 440}, {500, 1000, 451, 451}, {500, 1000, 450, 500}, {950, 1000, 0, 950},
        {951, 1000, 0, 1000},  {960, 1000, 955, 955}, {1200, 1000, 0, 1000}, {1, 3, 0, 333},
        {999, 1999, 0, 500},   {7999, 8000, 0, 1000}, {400, 8000, 0, 50},    {399, 8000, 0, 0},
    };
    for (const auto& [position, length, reference, expected] : cases)
        EXPECT_EQ(Geometry::toPerMille(position, length, reference), expected)
            << position << " of " << length << " beside " << reference;
}

TEST(QuadViewGeometry, PiecesAlignAndRepairTheRest) {
    using G = Geometry;
    const Extents rows{{{300, 500}, {700, 500}, {600, 500}, {400, 500}}};    // unequal ones
    const Extents columns{{{500, 300}, {500, 600}, {500, 700}, {500, 400}}}; // unequal ones
    // The pointer is in an area of 1000 x 1000.
    const std::tuple<const char*, Extents, G::Splitter, QPoint, const char*> cases[] = {
        {"UP by DOWN", rows, G::Up, {640, 9}, "600x500 400x500 600x500 400x500 "},
        {"DOWN by UP", rows, G::Down, {340, 9}, "300x500 700x500 300x500 700x500 "},
        {"LEFT by RIGHT", columns, G::Left, {9, 649}, "500x600 500x600 500x400 500x400 "},
        {"RIGHT by LEFT", columns, G::Right, {9, 300}, "500x300 500x300 500x700 500x700 "},
        {"UP repairs columns", columns, G::Up, {200, 9}, "200x500 800x500 500x500 500x500 "},
        {"LEFT repairs rows", rows, G::Left, {9, 200}, "500x200 500x500 500x800 500x500 "},
    };
    for (const auto& [name, before, splitter, pointer, after] : cases) {
        Geometry geometry = layout(before);
        geometry.drag(splitter, pointer, QSize(1000, 1000));
        EXPECT_EQ(text(geometry.extents()), after) << name;
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

// --- the views themselves

TEST_F(QtQuadViewTest, PercentSettersSnapAndRefuse) {
    using Q = QtQuadView;
    using Act = std::function<void(Q&)>;
    const std::tuple<const char*, Act, const char*> taken[] = {
        {"both", [](Q& v) { v.setViewDimension(30, 96); }, "300x1000 700x1000 300x0 700x0"},
        {"columns", [](Q& v) { v.setVViewDimension(20); }, "200x500 800x500 200x500 800x500"},
        {"rows", [](Q& v) { v.setHViewDimension(20); }, "500x200 500x200 500x800 500x800"},
        {"0", [](Q& v) { v.setVViewDimension(0, 20); }, "200x500 800x500 500x500 500x500"},
        {"1", [](Q& v) { v.setVViewDimension(1, 20); }, "800x500 200x500 500x500 500x500"},
        {"2", [](Q& v) { v.setVViewDimension(2, 20); }, "500x500 500x500 200x500 800x500"},
        {"3", [](Q& v) { v.setVViewDimension(3, 20); }, "500x500 500x500 800x500 200x500"},
        {"H0", [](Q& v) { v.setHViewDimension(0, 20); }, "500x200 500x500 500x800 500x500"},
        {"H1", [](Q& v) { v.setHViewDimension(1, 20); }, "500x500 500x200 500x500 500x800"},
        {"H2", [](Q& v) { v.setHViewDimension(2, 20); }, "500x800 500x500 500x200 500x500"},
        {"H3", [](Q& v) { v.setHViewDimension(3, 20); }, "500x500 500x800 500x500 500x200"},
    };
    for (const auto& [name, act, expected] : taken) {
        view.equalize();
        act(view);
        EXPECT_EQ(layout(), expected) << name;
    }
    const std::pair<const char*, Act> refused[] = {
        {"setViewDimension() invalid dimensions (101, -1)",
         [](Q& v) { v.setViewDimension(101, -1); }},
        {"setVViewDimension() invalid vertical dimensions ( -1 )",
         [](Q& v) { v.setVViewDimension(-1); }},
        {"setHViewDimension() invalid horizontal dimensions ( 101 )", // the value before the index
         [](Q& v) { v.setHViewDimension(9, 101); }},
        {"setVViewDimension() invalid index4", [](Q& v) { v.setVViewDimension(4, 50); }},
        {"setHViewDimension() invalid index-1", [](Q& v) { v.setHViewDimension(-1, 50); }},
    };
    const std::string before = layout();
    for (const auto& [record, act] : refused) {
        expectLog(LogLevel::CaError, record);
        act(view);
        EXPECT_EQ(layout(), before) << record;
    }
    expectLog(LogLevel::Error,
              "Wrong dimensions:\n\nr0: 600/500\nr1: 500/500\nr2: 600/500\nr3: 400/500");
    view.setViewerDimensions({600, 500}, {500, 500}, {600, 500}, {400, 500});
    EXPECT_EQ(layout(), quarters);
    view.setViewerDimensions({613, 512}, {387, 512}, {613, 488}, {387, 488});
    EXPECT_EQ(layout(), "613x512 387x512 613x488 387x488") << "a preset does not snap";
}

TEST_F(QtQuadViewTest, AMoveAtTheEdgeOfALineSaysNothing) {
    using G = QuadViewGeometry;
    const std::tuple<G::Splitter, QPoint, int, Qt::CursorShape> cases[] = {
        {G::Up, {0, 5}, 0, Qt::SizeHorCursor},
        {G::Left, {5, 0}, 0, Qt::SizeVerCursor},
        {G::Left, {0, 1}, 1, Qt::SizeVerCursor},
        {G::Center, {0, 0}, 1, Qt::SizeAllCursor}};
    for (const auto& [splitterPiece, position, moves, cursor] : cases) {
        QtQVSplitterFrame* const piece = line(splitterPiece);
        EXPECT_EQ(piece->cursor().shape(), cursor);
        QSignalSpy spy(piece, &QtQVSplitterFrame::mmove);
        QTest::mousePress(piece, Qt::LeftButton);
        move(piece, position, {500, 400});
        EXPECT_EQ(spy.size(), moves) << splitterPiece << " at " << position.x();
        QTest::mouseRelease(piece, Qt::LeftButton);
    }
}

TEST_F(QtQuadViewTest, ALineIsRaisedInItsMiddle) {
    for (const int orientation : {QtQVSplitterFrame::Horizontal, QtQVSplitterFrame::Vertical}) {
        QtQVSplitterFrame piece(nullptr, orientation);
        piece.resize(10, 10);
        const bool isUpright = orientation == QtQVSplitterFrame::Vertical;
        const QImage image = piece.grab().toImage();
        using P = QPalette; // the ground, and six pixels
        const P::ColorRole roles[] = {P::Window, P::Window, P::Light, P::Mid,    P::Mid,
                                      P::Mid,    P::Mid,    P::Dark,  P::Window, P::Window};
        for (int i = 0; i < 10; ++i)
            for (const int along : {0, 9})
                EXPECT_EQ(isUpright ? image.pixel(i, along) : image.pixel(along, i),
                          piece.palette().color(roles[i]).rgb())
                    << orientation << " at " << i;
    }
}

TEST_F(QtQuadViewTest, ASubclassStylesTheFramesWithEveryReset) {
    struct Styled : QtQuadView {
        void setViewFrameStyle(QFrame*) override { ++styled; }
        int styled = 0;
    } other;
    EXPECT_EQ(frame(3)->frameStyle(), int(QFrame::Box) | int(QFrame::Plain));
    EXPECT_EQ(frame(3)->lineWidth(), 0);
    view.resize(3200, 1000);
    EXPECT_EQ(frame(0)->pos(), QPoint(10, 10)) << "wider splitters on a wider screen";
    other.equalize();
    EXPECT_EQ(other.styled, 4);
    EXPECT_EQ(other.sizeHint(), QSize(1024, 1024));
    EXPECT_EQ(other.QWidget::sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
}

TEST_F(QtQuadViewTest, ButtonsAndHandlesAreWholeAtEveryEdge) {
    const std::tuple<int, int, int> cases[] = {{50, 50, 12}, {0, 0, 6},   {100, 100, 6},
                                               {0, 100, 6},  {100, 0, 6}, {50, 0, 9},
                                               {50, 100, 9}, {0, 50, 9},  {100, 50, 9}};
    for (const bool isTouched : {false, true, false}) {
        view.enableTouchscreenMode(isTouched);
        for (const auto& [x, y, count] : cases) {
            SCOPED_TRACE(testing::Message() << isTouched << " " << x << " " << y);
            view.setViewDimension(x, y);
            EXPECT_EQ(visibleButtons(), count + int(isTouched)) << "with the handle";
            for (const QPushButton* button : view.findChildren<QPushButton*>()) {
                const QRect place(button->mapTo(&view, QPoint()), button->size());
                EXPECT_TRUE(!button->isVisible() || view.rect().contains(place))
                    << place.x() << " " << place.y();
                EXPECT_GE(std::min(place.width(), place.height()), isTouched ? 35 : 32);
            }
        }
    }
}

TEST_F(QtQuadViewTest, APieceKeepsItsButtonsAtItsPlace) {
    // With a twentieth of 200 or 100 pixels as inset.
    const std::tuple<int, int, QPoint, QPoint, QRect> cases[] = {
        {1, 0, {300, 50}, {304, 250}, {287, 60, 32, 100}},
        {1, 2, {300, 50}, {304, 250}, {287, 141, 32, 100}},
        {1, 1, {300, 50}, {304, 250}, {287, 101, 32, 100}},
        {0, 0, {50, 300}, {250, 304}, {60, 287, 100, 32}},
        {0, 2, {50, 300}, {250, 304}, {141, 287, 100, 32}},
        {2, 7, {50, 300}, {250, 400}, {101, 364, 100, 32}},
        {1, 1, {300, 50}, {304, 149}, {287, 50, 32, 100}},
        {1, 1, {300, 50}, {304, 148}, {}},
        {0, 1, {50, 300}, {149, 304}, {50, 287, 100, 32}},
        {0, 1, {50, 300}, {148, 304}, {}}};
    const QPixmap picture(8, 8);
    for (const auto& [orientation, position, from, to, expected] : cases) {
        SCOPED_TRACE(testing::Message() << orientation << " " << position << " " << to.y());
        auto* const piece = new QtQVSimpleSplitter(&host, orientation, position);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(piece->createButton(&picture)->focusPolicy(), Qt::NoFocus);
        piece->enableTouchScreenMode(true);
        piece->setPosition(from, to);
        piece->show();
        QRect box;
        for (const QObject* child : host.children())
            if (child != &view && child->findChild<QPushButton*>())
                box = static_cast<const QWidget*>(child)->isVisible()
                          ? static_cast<const QWidget*>(child)->geometry()
                          : QRect();
        EXPECT_EQ(box, expected) << box.x() << " " << box.y() << " " << box.width();
        EXPECT_EQ(host.findChildren<QtDraggerButton*>().size(), position == 1 ? 1 : 0);
        delete piece;
        EXPECT_EQ(host.children(), QObjectList{&view}) << "line, box and handle went along";
    }
}
