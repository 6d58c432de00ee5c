#include "Base/QtQuadView.h"
#include "Base/QtDraggerButton.h"
#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQVSplitterFrame.h"
#include "Base/QtQVViewFrame.h"
#include "Gui/GuiTest.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QTimer>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QToolTip>

#include <random>
#include <vector>

using namespace vlrTest;

namespace {

QString key(const char* name) {
    return QStringLiteral("Velora/Application/QtQuadView/") + QLatin1String(name);
}

class QtQuadViewTest : public GuiTest {
protected:
    QtQuadViewTest() {
        host.resize(1200, 900);
        host.show();
        view.resize(1000, 800);
        view.show();
    }

    QString layout() {
        std::array<QSize, 4> r;
        view.viewerDimensions(r[0], r[1], r[2], r[3]);
        QStringList texts;
        for (const QSize& size : r)
            texts << QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        return texts.join(QLatin1Char(' '));
    }

    QtQVSimpleSplitter* splitter(int piece) {
        return view.findChildren<QtQVSimpleSplitter*>()[piece];
    }
    QtQVSplitterFrame* line(int piece) { return view.findChildren<QtQVSplitterFrame*>()[piece]; }
    QtQVViewFrame* frame(int index) { return static_cast<QtQVViewFrame*>(view.getView(index)); }

    void drag(int piece, const QPoint& to) {
        emit splitter(piece)->mouseMove(view.mapToGlobal(to));
        emit splitter(piece)->dragFinished();
        QCoreApplication::sendPostedEvents(&view, QEvent::LayoutRequest);
    }
    void call(const char* slot) { ASSERT_TRUE(QMetaObject::invokeMethod(&view, slot)) << slot; }

    QLabel* fill(int index) {
        auto* const content = new QLabel(QStringLiteral("content"));
        frame(index)->layout()->addWidget(content);
        return content;
    }

    int visibleButtons() {
        int count = 0;
        for (QPushButton* button : view.findChildren<QPushButton*>())
            count += button->isVisible() ? 1 : 0;
        return count;
    }

    QWidget host;
    QtQuadView view{&host};
};

const QString quarters = QStringLiteral("500x500 500x500 500x500 500x500");

// Whatever was done, this holds.
void checkSanity(QtQuadView& view) {
    std::array<QSize, 4> r;
    view.viewerDimensions(r[0], r[1], r[2], r[3]);
    for (const QSize& size : r) {
        ASSERT_TRUE(size.width() >= 0 && size.width() <= 1000) << size.width();
        ASSERT_TRUE(size.height() >= 0 && size.height() <= 1000) << size.height();
    }
    ASSERT_EQ(r[0].width() + r[1].width(), 1000);
    ASSERT_EQ(r[2].width() + r[3].width(), 1000);
    ASSERT_EQ(r[0].height() + r[2].height(), 1000);
    ASSERT_EQ(r[1].height() + r[3].height(), 1000);
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(view.getView(i)->isHidden(), r[static_cast<std::size_t>(i)].width() == 0 ||
                                                   r[static_cast<std::size_t>(i)].height() == 0);
    // A preset may divide both rows and columns differently, like a windmill; its views overlap.
    if (r[0].width() != r[2].width() && r[0].height() != r[1].height())
        return;
    const auto isSeen = [&view](int i) {
        return !view.getView(i)->isHidden() && !view.getView(i)->geometry().isEmpty();
    };
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < i; ++k)
            if (isSeen(i) && isSeen(k)) {
                ASSERT_FALSE(view.getView(i)->geometry().intersects(view.getView(k)->geometry()))
                    << i << " and " << k;
            }
}

} // namespace

TEST_F(QtQuadViewTest, StaysSaneWhateverIsDone) {
    const std::array<const char*, 12> zooms = {"zoomHULSL", "zoomHUMSL", "zoomHURSL", "zoomHLLSL",
                                               "zoomHLMSL", "zoomHLRSL", "zoomVULSL", "zoomVMLSL",
                                               "zoomVLLSL", "zoomVURSL", "zoomVMRSL", "zoomVLRSL"};
    std::mt19937 random(20261121);
    const auto number = [&random](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    for (int step = 0; step < 20000; ++step) {
        const QString before = layout();
        const bool isLocked = view.isAspectRatioLocked();
        const int kind = number(0, 19);
        const QPoint pointer(number(-50, view.width() + 50), number(-50, view.height() + 50));
        const int percent = number(0, 100);
        const int other = number(0, 100);
        const int piece = number(0, 6);
        const int index = number(0, 3);
        const int left = 10 * percent;
        const int upper = 10 * other;
        const QSize sizes[] = {
            {left, upper}, {1000 - left, upper}, {left, 1000 - upper}, {1000 - left, 1000 - upper}};
        const auto act = [&] {
            if (kind < 8)
                drag(piece, pointer);
            else if (kind < 11)
                call(zooms[static_cast<std::size_t>(pointer.x() & 7) + (step & 4)]);
            else if (kind == 11)
                view.setViewDimension(percent, other);
            else if (kind == 12)
                view.setVViewDimension(percent);
            else if (kind == 13)
                view.setHViewDimension(percent);
            else if (kind == 14)
                view.setVViewDimension(index, percent);
            else if (kind == 15)
                view.setHViewDimension(index, percent);
            else if (kind == 16)
                view.setViewerDimensions(sizes[0], sizes[1], sizes[2], sizes[3]);
            else if (kind == 17) // The lower row mirrored, and with it the columns: a windmill.
                view.setViewerDimensions(sizes[0], {1000 - left, 1000 - upper},
                                         {1000 - left, 1000 - upper}, {left, upper});
            else if (kind == 18)
                view.resize(number(1, 8000), number(1, 8000));
            else if (isLocked)
                view.unlockAspectRatio();
            else
                view.lockAspectRatio();
        };
        act();
        SCOPED_TRACE(testing::Message()
                     << "step " << step << " of kind " << kind << " after " << qPrintable(before));
        ASSERT_NO_FATAL_FAILURE(checkSanity(view));
        const QString after = layout();
        if (kind >= 18 || (kind < 8 && isLocked)) {
            ASSERT_EQ(after, before);
        }
        if (kind >= 18)
            continue;
        act();
        ASSERT_EQ(layout(), after) << "the second time";
        if (after != before && step % 4 == 0) {
            view.undoLayout();
            ASSERT_EQ(layout(), before) << "undone";
        }
    }
}

TEST_F(QtQuadViewTest, PercentSettersSnapAndRefuse) {
    struct Case {
        const char* name;
        std::function<void(QtQuadView&)> act;
        const char* layout;
        const char* record;
    };
    using Q = QtQuadView;
    const char* const none = nullptr;
    const Case cases[] = {
        {"both", [](Q& v) { v.setViewDimension(30, 96); }, "300x1000 700x1000 300x0 700x0", none},
        {"columns", [](Q& v) { v.setVViewDimension(20); }, "200x500 800x500 200x500 800x500", none},
        {"rows", [](Q& v) { v.setHViewDimension(51); }, "500x500 500x500 500x500 500x500", none},
        {"0", [](Q& v) { v.setVViewDimension(0, 20); }, "200x500 800x500 500x500 500x500", none},
        {"1", [](Q& v) { v.setVViewDimension(1, 20); }, "800x500 200x500 500x500 500x500", none},
        {"2", [](Q& v) { v.setVViewDimension(2, 20); }, "500x500 500x500 200x500 800x500", none},
        {"3", [](Q& v) { v.setVViewDimension(3, 20); }, "500x500 500x500 800x500 200x500", none},
        {"H0", [](Q& v) { v.setHViewDimension(0, 20); }, "500x200 500x500 500x800 500x500", none},
        {"H1", [](Q& v) { v.setHViewDimension(1, 20); }, "500x500 500x200 500x500 500x800", none},
        {"H2", [](Q& v) { v.setHViewDimension(2, 20); }, "500x800 500x500 500x200 500x500", none},
        {"H3", [](Q& v) { v.setHViewDimension(3, 20); }, "500x500 500x800 500x500 500x200", none},
        {"preset",
         [](Q& v) {
             v.setViewerDimensions({613, 512}, {387, 512}, {613, 488}, {387, 488});
         },
         "613x512 387x512 613x488 387x488", none},
        {"out of range", [](Q& v) { v.setViewDimension(101, -1); }, nullptr,
         "setViewDimension() invalid dimensions (101, -1)"},
        {"negative", [](Q& v) { v.setVViewDimension(-1); }, nullptr,
         "setVViewDimension() invalid vertical dimensions ( -1 )"},
        {"value before index", [](Q& v) { v.setHViewDimension(9, 101); }, nullptr,
         "setHViewDimension() invalid horizontal dimensions ( 101 )"},
        {"index", [](Q& v) { v.setVViewDimension(4, 50); }, nullptr,
         "setVViewDimension() invalid index4"},
        {"H index", [](Q& v) { v.setHViewDimension(-1, 50); }, nullptr,
         "setHViewDimension() invalid index-1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        view.equalize();
        if (c.record) {
            expectLog(vlr::LogLevel::CaError, c.record);
        }
        c.act(view);
        EXPECT_EQ(layout(), c.layout ? QLatin1String(c.layout) : quarters);
    }
    view.setVViewDimension(20);
    expectLog(vlr::LogLevel::Error,
              "Wrong dimensions:\n\nr0: 600/500\nr1: 500/500\nr2: 600/500\nr3: 400/500");
    view.setViewerDimensions({600, 500}, {500, 500}, {600, 500}, {400, 500});
    EXPECT_EQ(layout(), quarters);
}

TEST_F(QtQuadViewTest, TheLineIsDraggedAndTheWholeDragUndone) {
    QtQVSplitterFrame* const up = line(QuadViewGeometry::Up);
    const auto dragTo = [&](int x) {
        QMouseEvent move(QEvent::MouseMove, QPointF(2, 9), up->window()->mapFromGlobal({x, 50}),
                         QPointF(view.mapToGlobal({x, 50})), Qt::NoButton, Qt::LeftButton, {});
        QCoreApplication::sendEvent(up, &move);
    };
    dragTo(300);
    EXPECT_EQ(layout(), quarters) << "nothing is pressed";
    QTest::mousePress(up, Qt::LeftButton);
    dragTo(300);
    dragTo(250);
    dragTo(200);
    QTest::mouseRelease(up, Qt::LeftButton);
    EXPECT_EQ(layout(), QStringLiteral("200x500 800x500 500x500 500x500"));
    dragTo(700);
    EXPECT_EQ(layout(), QStringLiteral("200x500 800x500 500x500 500x500")) << "released";
    view.undoLayout();
    EXPECT_EQ(layout(), quarters);
    view.undoLayout();
    EXPECT_EQ(layout(), quarters);
}

TEST_F(QtQuadViewTest, AMoveAtTheEdgeOfALineSaysNothing) {
    struct Case {
        int piece;
        QPoint position;
        bool isMoved;
    };
    const Case cases[] = {{QuadViewGeometry::Up, {0, 5}, false},
                          {QuadViewGeometry::Up, {5, 0}, true},
                          {QuadViewGeometry::Left, {5, 0}, false},
                          {QuadViewGeometry::Left, {0, 5}, true},
                          {QuadViewGeometry::Center, {0, 0}, true}};
    for (const Case& c : cases) {
        QtQVSplitterFrame* const piece = line(c.piece);
        QSignalSpy spy(piece, &QtQVSplitterFrame::mmove);
        QTest::mousePress(piece, Qt::LeftButton);
        QMouseEvent move(QEvent::MouseMove, QPointF(c.position), QPointF(500, 400), Qt::NoButton,
                         Qt::LeftButton, {});
        QCoreApplication::sendEvent(piece, &move);
        EXPECT_EQ(spy.size(), c.isMoved ? 1 : 0) << c.piece << " at " << c.position.x();
        QTest::mouseRelease(piece, Qt::LeftButton);
    }
}

TEST_F(QtQuadViewTest, EveryExpandButtonDoesItsOwn) {
    const QString expected[] = {
        // upper row, lower row, left column, right column, each in the order of its buttons
        QStringLiteral("0x500 1000x500 500x500 500x500"),
        QStringLiteral("500x500 500x500 500x500 500x500"),
        QStringLiteral("1000x500 0x500 500x500 500x500"),
        QStringLiteral("500x500 500x500 0x500 1000x500"),
        QStringLiteral("500x500 500x500 500x500 500x500"),
        QStringLiteral("500x500 500x500 1000x500 0x500"),
        QStringLiteral("500x0 500x500 500x1000 500x500"),
        QStringLiteral("500x500 500x500 500x500 500x500"),
        QStringLiteral("500x1000 500x500 500x0 500x500"),
        QStringLiteral("500x500 500x0 500x500 500x1000"),
        QStringLiteral("500x500 500x500 500x500 500x500"),
        QStringLiteral("500x500 500x1000 500x500 500x0"),
    };
    const auto buttons = view.findChildren<QPushButton*>();
    ASSERT_EQ(buttons.size(), 12);
    for (int i = 0; i < buttons.size(); ++i) {
        view.equalize();
        buttons[i]->click();
        EXPECT_EQ(layout(), expected[i]) << i;
        EXPECT_EQ(buttons[i]->size(), QSize(32, 32));
        EXPECT_FALSE(buttons[i]->icon().isNull());
        EXPECT_FALSE(buttons[i]->accessibleName().isEmpty());
    }
}

TEST_F(QtQuadViewTest, ButtonsComeWithThePointerAndGoWithTheTimer) {
    auto* const timer = view.findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    EXPECT_EQ(timer->interval(), 2000);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(visibleButtons(), 12);
    call("hideButtonsSL");
    EXPECT_EQ(visibleButtons(), 0);

    ASSERT_EQ(vlr::Settings::set(key("ExpandButtonTimeoutInMS"), 300), CaError::nullError);
    QEvent enter(QEvent::Enter);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(line(QuadViewGeometry::Up), &enter);
    EXPECT_EQ(visibleButtons(), 12);
    EXPECT_EQ(timer->interval(), 300);
    EXPECT_TRUE(timer->isActive()) << "they go even while the pointer rests";
    timer->stop();
    QCoreApplication::sendEvent(line(QuadViewGeometry::Up), &leave);
    EXPECT_TRUE(timer->isActive());
    // A bar shorter than its buttons has none.
    view.setVViewDimension(8);
    view.resize(100, 100);
    EXPECT_EQ(visibleButtons(), 0);
    (void)vlr::Settings::remove(key("ExpandButtonTimeoutInMS"));
}

TEST_F(QtQuadViewTest, ALockedLayoutIsFrozenForTheHandAndSaysSo) {
    QSignalSpy spy(&view, &QtQuadView::aspectRatioLockChanged);
    view.enableTouchscreenMode(true);
    view.lockAspectRatio();
    view.lockAspectRatio();
    EXPECT_EQ(spy.size(), 1);
    EXPECT_TRUE(spy.value(0).value(0).toBool());
    EXPECT_EQ(visibleButtons(), 0) << "neither expand buttons nor touch handles";
    view.resize(990, 790);
    EXPECT_EQ(visibleButtons(), 0);
    drag(QuadViewGeometry::Up, {200, 50});
    EXPECT_EQ(layout(), quarters);
    EXPECT_EQ(line(QuadViewGeometry::Up)->cursor().shape(), Qt::ArrowCursor);
    QTest::mousePress(line(QuadViewGeometry::Up), Qt::LeftButton);
    EXPECT_TRUE(QToolTip::text().contains(QLatin1String("locked"))) << "the hand is told";
    QToolTip::hideText();
    view.actions().value(0)->trigger();
    EXPECT_EQ(layout(), quarters);
    EXPECT_TRUE(QToolTip::text().contains(QLatin1String("locked"))) << "the keyboard is told";
    QToolTip::hideText();
    view.setVViewDimension(20);
    EXPECT_NE(layout(), quarters) << "the program may";

    view.unlockAspectRatio();
    EXPECT_EQ(spy.size(), 2);
    drag(QuadViewGeometry::Up, {693, 50});
    EXPECT_EQ(layout(), QStringLiteral("700x500 300x500 200x500 800x500"));
    EXPECT_EQ(line(QuadViewGeometry::Up)->cursor().shape(), Qt::SizeHorCursor);
}

TEST_F(QtQuadViewTest, TouchHandlesDragTheCentrePieces) {
    view.enableTouchscreenMode(true);
    const auto handles = view.findChildren<QtDraggerButton*>();
    ASSERT_EQ(handles.size(), 3);
    QtDraggerButton* const centre = handles[2];
    ASSERT_TRUE(centre->isVisible());
    EXPECT_FALSE(handles[0]->isVisible()) << "the rows are aligned";
    EXPECT_GE(centre->width(), 35);
    EXPECT_GE(centre->height(), 35);
    EXPECT_LE((centre->geometry().center() - QPoint(500, 400)).manhattanLength(), 4);

    QTest::mousePress(centre, Qt::LeftButton);
    QMouseEvent move(QEvent::MouseMove, QPointF(5, 5), QPointF(view.mapToGlobal({200, 300})),
                     Qt::NoButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(centre, &move);
    QTest::mouseRelease(centre, Qt::LeftButton);
    QCoreApplication::sendPostedEvents(&view, QEvent::LayoutRequest);
    EXPECT_EQ(layout(), QStringLiteral("200x375 800x375 200x625 800x625"));
    EXPECT_LE((centre->geometry().center() - QPoint(200, 300)).manhattanLength(), 4);
    for (const QPoint& corner :
         {QPoint(0, 0), QPoint(1000, 0), QPoint(0, 800), QPoint(1000, 800)}) {
        drag(QuadViewGeometry::Center, corner);
        EXPECT_TRUE(view.rect().contains(centre->geometry())) << corner.x() << "," << corner.y();
    }
    view.equalize();
    drag(QuadViewGeometry::Up, {700, 50});
    EXPECT_FALSE(centre->isVisible());
    EXPECT_TRUE(handles[0]->isVisible());
    view.enableTouchscreenMode(false);
    EXPECT_TRUE(view.findChildren<QtDraggerButton*>().isEmpty());
}

TEST_F(QtQuadViewTest, ThePressedViewIsTheCurrentOne) {
    QSignalSpy spy(&view, &QtQuadView::currentViewChanged);
    QLabel* const second = fill(1);
    EXPECT_EQ(view.getCurrentView(), -1);
    QTest::mouseClick(second, Qt::LeftButton);
    QTest::mouseClick(second, Qt::LeftButton);
    EXPECT_EQ(view.getCurrentView(), 1);
    ASSERT_EQ(spy.size(), 1);
    EXPECT_EQ(spy[0][0].toInt(), 1);
    frame(2)->widgetActivatedSL();
    EXPECT_EQ(spy.size(), 2);
    view.setFocus(3);
    EXPECT_EQ(view.getCurrentView(), 3);
    view.setFocus(7);
    EXPECT_EQ(view.getCurrentView(), -1);
    EXPECT_EQ(spy.size(), 2) << "a call tells nobody";
}

TEST_F(QtQuadViewTest, ColoursAreAppliedOnlyOnceConfigured) {
    const QPalette plain;
    ASSERT_EQ(vlr::Settings::set(key("SelectedColor"), Vector3d(0, 200, 0)), CaError::nullError);
    const auto colors = [](bool select) {
        QtQuadView other;
        if (select)
            other.setFocus(0);
        return other.getView(0)->palette().color(QPalette::Window);
    };
    EXPECT_EQ(colors(true), plain.color(QPalette::Window));
    ASSERT_EQ(vlr::Settings::set(key("ButtonColor"), Vector3d(10, 20, 30)), CaError::nullError);
    EXPECT_EQ(colors(true), QColor(0, 200, 0).lighter(150));
    EXPECT_EQ(colors(false), plain.color(QPalette::Window));
    (void)vlr::Settings::remove(key("ButtonColor"));
    (void)vlr::Settings::remove(key("SelectedColor"));
}

TEST_F(QtQuadViewTest, RemovingAViewsContentDeletesItEvenFromItsOwnPress) {
    expectLog(vlr::LogLevel::CaError, "Child REMOVED");
    QPointer<QLabel> content = fill(0);
    EXPECT_EQ(frame(0)->getCurrentChild(), content.data());
    view.removeWidget(4);
    view.removeWidget(-1);
    view.removeWidget(1);
    EXPECT_TRUE(content);
    view.removeWidget(0);
    EXPECT_FALSE(content);
    EXPECT_EQ(frame(0)->getCurrentChild(), nullptr);

    content = fill(0);
    QObject::connect(frame(0), &QtQVViewFrame::getFocus, [&] { view.removeWidget(0); });
    QTest::mouseClick(content, Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(content);
}

TEST_F(QtQuadViewTest, TheKeyboardMaximisesEqualisesAndUndoes) {
    QLabel* const content = fill(2);
    content->setFocusPolicy(Qt::StrongFocus);
    host.activateWindow();
    content->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&host));
    view.setVViewDimension(20);
    view.setFocus(2);
    const QString before = layout();
    const QString alone = QStringLiteral("1000x0 0x0 1000x1000 0x1000");
    QTest::keyClick(content, Qt::Key_M, Qt::ControlModifier);
    EXPECT_EQ(layout(), alone);
    QTest::keyClick(content, Qt::Key_M, Qt::ControlModifier);
    EXPECT_EQ(layout(), before);
    QTest::keyClick(content, Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(layout(), quarters);
    QTest::keyClick(content, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(layout(), before);
    QTest::keyClick(content, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(layout(), alone);
}

TEST_F(QtQuadViewTest, APressOnAnyWidgetInAViewMakesItCurrent) {
    QLabel* const first = fill(0);
    fill(0);
    QTest::mouseClick(first, Qt::LeftButton);
    EXPECT_EQ(view.getCurrentView(), 0);
    first->setParent(&host);
    first->show();
    view.setFocus(-1);
    QTest::mouseClick(first, Qt::LeftButton);
    EXPECT_EQ(view.getCurrentView(), -1) << "it is somewhere else now";
}

TEST_F(QtQuadViewTest, ForgetsWhatWasBeforeSomebodyElsesLayout) {
    view.setVViewDimension(20);
    view.toggleMaximized();
    const QString before = layout();
    view.forgetLayouts();
    view.undoLayout();
    EXPECT_EQ(layout(), before);
    view.toggleMaximized();
    EXPECT_EQ(layout(), quarters);
}

// Every view may be hidden by a windmill preset of nothing but ends.
TEST_F(QtQuadViewTest, MaximisesAlsoWhereNoViewIsSeen) {
    view.setViewerDimensions({1000, 0}, {0, 1000}, {0, 1000}, {1000, 0});
    view.toggleMaximized();
    EXPECT_EQ(layout(), QStringLiteral("1000x1000 0x1000 1000x0 0x0"));
}

namespace {

class CountingPane : public QWidget {
public:
    using QWidget::QWidget;
    int paints = 0;
    int resizes = 0;

protected:
    void resizeEvent(QResizeEvent*) override { ++resizes; }
    void paintEvent(QPaintEvent*) override { ++paints; }
};

} // namespace

TEST_F(QtQuadViewTest, AFloodOfMovesIsPaintedOnce) {
    std::array<CountingPane*, 4> panes{};
    for (int i = 0; i < 4; ++i) {
        panes[static_cast<std::size_t>(i)] = new CountingPane;
        frame(i)->layout()->addWidget(panes[static_cast<std::size_t>(i)]);
    }
    const auto allPainted = [&panes] {
        for (const CountingPane* pane : panes)
            if (pane->paints == 0)
                return false;
        return true;
    };
    ASSERT_TRUE(QTest::qWaitFor(allPainted));
    for (CountingPane* pane : panes)
        pane->paints = pane->resizes = 0;
    for (int i = 0; i < 1000; ++i)
        emit splitter(QuadViewGeometry::Center)
            ->mouseMove(view.mapToGlobal({100 + i % 300, 100 + i % 250}));
    ASSERT_TRUE(QTest::qWaitFor(allPainted));
    // Until nothing more is waiting.
    QCoreApplication::processEvents();
    for (const CountingPane* pane : panes) {
        EXPECT_LE(pane->paints, 4);
        EXPECT_EQ(pane->resizes, 1);
    }
}
