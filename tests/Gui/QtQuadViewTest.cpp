#include "Gui/QtQuadViewTest.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QMenu>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QToolTip>

#include <random>

using namespace vlrTest;

namespace {

// Whatever was done, this holds.
void checkSanity(QtQuadView& view) {
    const QuadViewGeometry::Extents r = extentsOf(view);
    ASSERT_TRUE(QuadViewGeometry().setExtents(r)) << "no layout";
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(view.getView(i)->isHidden(), r[static_cast<std::size_t>(i)].isEmpty()) << i;
    // A preset may divide both rows and columns differently, like a windmill; its views overlap.
    if (r[0].width() != r[2].width() && r[0].height() != r[1].height())
        return;
    QRegion seen;
    for (int i = 0; i < 4; ++i) {
        const QWidget* pane = view.getView(i);
        if (pane->isHidden() || pane->geometry().isEmpty())
            continue;
        ASSERT_FALSE(seen.intersects(pane->geometry())) << "views overlap at " << i;
        seen += pane->geometry();
    }
}

} // namespace

TEST_F(QtQuadViewTest, StaysSaneWhateverIsDone) {
    const auto buttons = view.findChildren<QPushButton*>();
    std::mt19937 random(20261121);
    const auto number = [&random](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    bool isLocked = false;
    QPoint pointer;
    int percent = 0, other = 0, piece = 0, index = 0, button = 0;
    enum { Drag = 0, Resize = 9, Lock = 10 };
    const std::function<void()> acts[] = {
        [&] { drag(piece, pointer); },
        [&] { buttons[button]->click(); },
        [&] { view.setViewDimension(percent, other); },
        [&] { view.setVViewDimension(percent); },
        [&] { view.setHViewDimension(percent); },
        [&] { view.setVViewDimension(index, percent); },
        [&] { view.setHViewDimension(index, percent); },
        [&] {
            const int left = 10 * percent, upper = 10 * other;
            view.setViewerDimensions({left, upper}, {1000 - left, upper}, {left, 1000 - upper},
                                     {1000 - left, 1000 - upper});
        },
        [&] { // The lower row mirrored, and with it the columns: a windmill.
            const QSize size(10 * percent, 10 * other);
            const QSize rest(1000 - size.width(), 1000 - size.height());
            view.setViewerDimensions(size, rest, rest, size);
        },
        [&] { view.resize(number(1, 8000), number(1, 8000)); },
        [&] { isLocked ? view.unlockAspectRatio() : view.lockAspectRatio(); },
    };
    for (int step = 0; step < 20000; ++step) {
        const std::string before = layout();
        isLocked = view.isAspectRatioLocked();
        const int kind = std::max<int>(Drag, number(-7, Lock)); // most often a drag
        pointer = {number(-50, view.width() + 50), number(-50, view.height() + 50)};
        percent = number(0, 100);
        other = number(0, 100);
        piece = number(0, 6);
        index = number(0, 3);
        button = number(0, 11);
        acts[kind]();
        SCOPED_TRACE(testing::Message()
                     << "step " << step << " of kind " << kind << " after " << before);
        ASSERT_NO_FATAL_FAILURE(checkSanity(view));
        const std::string after = layout();
        if (kind >= Resize || (kind == Drag && isLocked)) {
            ASSERT_EQ(after, before);
        }
        if (kind >= Resize)
            continue;
        acts[kind]();
        ASSERT_EQ(layout(), after) << "the second time";
        if (after != before && step % 4 == 0) {
            view.undoLayout();
            ASSERT_EQ(layout(), before) << "undone";
        }
    }
}

TEST_F(QtQuadViewTest, TheLineIsDraggedAndTheWholeDragUndone) {
    QtQVSplitterFrame* const up = line(QuadViewGeometry::Up);
    QSignalSpy over(up, &QtQVSplitterFrame::mOnWidget);
    for (const QEvent::Type type : {QEvent::Enter, QEvent::Enter, QEvent::Leave, QEvent::Leave}) {
        QEvent event(type);
        QCoreApplication::sendEvent(up, &event);
    }
    ASSERT_EQ(over.size(), 2) << "told once each";
    EXPECT_TRUE(over[0][0].toBool() && !over[1][0].toBool());
    move(up, {2, 9}, {300, 50});
    EXPECT_EQ(layout(), quarters) << "nothing is pressed";
    QTest::mousePress(up, Qt::LeftButton);
    for (const int x : {300, 250, 200})
        move(up, {2, 9}, {x, 50});
    QTest::mouseRelease(up, Qt::LeftButton);
    move(up, {2, 9}, {700, 50});
    EXPECT_EQ(layout(), "200x500 800x500 500x500 500x500");
    for (int i = 0; i < 2; ++i) {
        view.undoLayout();
        EXPECT_EQ(layout(), quarters);
    }
    QTest::mousePress(up, Qt::LeftButton);
    move(up, {2, 9}, {300, 50});
    view.setVViewDimension(0, 20); // a call is no part of the drag
    view.undoLayout();
    EXPECT_EQ(layout(), "300x500 700x500 500x500 500x500");
}

TEST_F(QtQuadViewTest, EveryExpandButtonDoesItsOwn) {
    // Each piece has three buttons, for 0, 500 and 1000 per mille.
    const char* const pieces[] = {
        "%1x500 %2x500 500x500 500x500", // upper row
        "500x500 500x500 %1x500 %2x500", // lower row
        "500x%1 500x500 500x%2 500x500", // left column
        "500x500 500x%1 500x500 500x%2", // right column
    };
    const auto buttons = view.findChildren<QPushButton*>();
    ASSERT_EQ(buttons.size(), 12);
    for (int i = 0; i < buttons.size(); ++i) {
        view.equalize();
        buttons[i]->click();
        const int share = 500 * (i % 3);
        const QString expected = text(pieces[i / 3]).arg(share).arg(1000 - share);
        EXPECT_EQ(layout(), expected.toStdString()) << i;
        const char* const words[] = {"Right", "row alike",    "Left",
                                     "Lower", "column alike", "Upper"};
        EXPECT_TRUE(buttons[i]->toolTip().contains(text(words[i / 6 * 3 + i % 3]))) << i;
        EXPECT_EQ(buttons[i]->accessibleName(), buttons[i]->toolTip());
        EXPECT_EQ(buttons[i]->iconSize(), QSize(24, 24));
    }
}

TEST_F(QtQuadViewTest, ButtonsComeWithThePointerAndGoWithTheTimer) {
    auto* const timer = view.findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    EXPECT_EQ(timer->interval(), 2000);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(visibleButtons(), 12);
    QMetaObject::invokeMethod(&view, "hideButtonsSL");
    EXPECT_EQ(visibleButtons(), 0);

    setting("QtQuadView/ExpandButtonTimeoutInMS", 300);
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
    (void)vlr::Settings::remove(known("QtQuadView/ExpandButtonTimeoutInMS"));
}

TEST_F(QtQuadViewTest, ALockedLayoutIsFrozenForTheHand) {
    QSignalSpy spy(&view, &QtQuadView::aspectRatioLockChanged);
    QtQVSplitterFrame* const up = line(QuadViewGeometry::Up);
    view.enableTouchscreenMode(true);
    view.lockAspectRatio();
    view.lockAspectRatio();
    EXPECT_EQ(spy.size(), 1);
    EXPECT_TRUE(spy.value(0).value(0).toBool());
    view.resize(990, 790);
    EXPECT_EQ(visibleButtons(), 0) << "neither expand buttons nor touch handles";
    drag(QuadViewGeometry::Up, {200, 50});
    view.layoutAction(QtQuadView::LayoutCommand::ToggleMaximized)->trigger();
    EXPECT_EQ(layout(), quarters);
    EXPECT_TRUE(QToolTip::isVisible()) << "and says why nothing happens";
    EXPECT_EQ(up->cursor().shape(), Qt::ArrowCursor);
    view.setVViewDimension(20);
    EXPECT_NE(layout(), quarters) << "the program may";

    view.unlockAspectRatio();
    EXPECT_EQ(spy.size(), 2);
    EXPECT_EQ(visibleButtons(), 0) << "not before the next show";
    drag(QuadViewGeometry::Up, {693, 50});
    EXPECT_EQ(layout(), "700x500 300x500 200x500 800x500");
    EXPECT_EQ(up->cursor().shape(), Qt::SizeHorCursor);
}

TEST_F(QtQuadViewTest, TouchHandlesDragTheCentrePieces) {
    view.enableTouchscreenMode(true);
    const auto handles = view.findChildren<QtDraggerButton*>();
    ASSERT_EQ(handles.size(), 3);
    QtDraggerButton* const centre = handles[2];
    ASSERT_TRUE(centre->isVisible());
    EXPECT_FALSE(handles[0]->isVisible()) << "the rows are aligned";
    const auto isAt = [&](const QPoint& place) {
        return (centre->geometry().center() - place).manhattanLength() <= 4;
    };
    EXPECT_TRUE(isAt({500, 400}));

    move(centre, {5, 5}, {200, 300});
    EXPECT_EQ(layout(), quarters) << "nothing is pressed";
    QTest::mousePress(centre, Qt::LeftButton);
    move(centre, {5, 5}, {200, 300});
    QTest::mouseRelease(centre, Qt::LeftButton);
    QCoreApplication::sendPostedEvents(&view, QEvent::LayoutRequest);
    EXPECT_EQ(layout(), "200x375 800x375 200x625 800x625");
    EXPECT_TRUE(isAt({200, 300}));
    view.equalize();
    drag(QuadViewGeometry::Up, {700, 50});
    EXPECT_FALSE(centre->isVisible());
    EXPECT_TRUE(handles[0]->isVisible());
    view.enableTouchscreenMode(false);
    EXPECT_TRUE(view.findChildren<QtDraggerButton*>().isEmpty());
}

TEST_F(QtQuadViewTest, ThePressedViewIsTheCurrentOne) {
    QSignalSpy spy(&view, &QtQuadView::currentViewChanged);
    QLabel* const first = fill(1);
    fill(1); // a press on any of them counts
    EXPECT_EQ(view.getCurrentView(), -1);
    QTest::mouseClick(first, Qt::LeftButton);
    QTest::mouseClick(first, Qt::LeftButton);
    EXPECT_EQ(view.getCurrentView(), 1);
    ASSERT_EQ(spy.size(), 1);
    EXPECT_EQ(spy[0][0].toInt(), 1);
    frame(2)->widgetActivatedSL();
    EXPECT_EQ(spy.size(), 2);
    view.setFocus(3);
    EXPECT_EQ(view.getCurrentView(), 3);
    view.setFocus(7);
    first->setParent(&host);
    first->show();
    QTest::mouseClick(first, Qt::LeftButton);
    EXPECT_EQ(view.getCurrentView(), -1) << "it is somewhere else now";
    EXPECT_EQ(spy.size(), 2) << "a call tells nobody";
}

TEST_F(QtQuadViewTest, ColoursAreAppliedOnceConfiguredAndOnlyOverNobodysOwn) {
    const QPalette plain;
    const QColor window = plain.color(QPalette::Window);
    const QColor selected = QColor(0, 200, 0).lighter(150);
    const QColor normal(40, 50, 60);
    setting("QtQuadView/SelectedColor", Vector3d(0, 200, 0));
    setting("QtQuadView/BackgroundColor", Vector3d(40, 50, 60));
    for (const bool isConfigured : {false, true}) {
        if (isConfigured)
            setting("QtQuadView/ButtonColor", Vector3d(10, 20, 30));
        QtQuadView other;
        auto* const content = new QLabel;
        auto* const proud = new QLabel;
        proud->setPalette(QPalette(QColor(1, 2, 3), QColor(4, 5, 6)));
        other.getView(0)->layout()->addWidget(content);
        other.getView(1)->layout()->addWidget(proud);
        const auto color = [](const QWidget* widget) {
            return widget->palette().color(QPalette::Window);
        };
        for (const int current : {0, 1, 2}) {
            other.setFocus(current);
            SCOPED_TRACE(testing::Message() << isConfigured << " view " << current);
            const bool isColored = isConfigured && current == 0;
            EXPECT_EQ(color(other.getView(0)), isColored ? selected : window);
            EXPECT_EQ(color(content), isColored ? normal : window);
            EXPECT_EQ(color(proud), QColor(4, 5, 6));
        }
        auto* const late = new QLabel;
        other.getView(2)->layout()->addWidget(late);
        EXPECT_EQ(color(late), isConfigured ? normal : window);
        late->setParent(nullptr);
        EXPECT_FALSE(late->testAttribute(Qt::WA_SetPalette)) << "elsewhere it is as it was";
        delete late;
    }
    for (const char* name : {"ButtonColor", "SelectedColor", "BackgroundColor"})
        (void)vlr::Settings::remove(known("QtQuadView/") + text(name));
}

TEST_F(QtQuadViewTest, RemovingAViewsContentDeletesItEvenFromItsOwnPress) {
    expectLog(LogLevel::CaError, "Child REMOVED");
    QPointer<QLabel> content = fill(0);
    EXPECT_EQ(frame(0)->getCurrentChild(), content.data());
    view.removeWidget(4);
    view.removeWidget(-1);
    view.removeWidget(1);
    EXPECT_TRUE(content);
    view.removeWidget(0);
    EXPECT_FALSE(content);
    EXPECT_EQ(frame(0)->getCurrentChild(), nullptr);

    struct Closing : QLabel {
        explicit Closing(int& count) : closed(count) {}
        void closeEvent(QCloseEvent*) override { ++closed; }
        int& closed;
    };
    int closed = 0;
    frame(0)->layout()->addWidget(new Closing(closed));
    view.removeWidget(0);
    EXPECT_EQ(closed, 1);
    content = fill(0);
    QObject::connect(frame(0), &QtQVViewFrame::getFocus, [&] { view.removeWidget(0); });
    QTest::mouseClick(content, Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(content);
}

TEST_F(QtQuadViewTest, TheKeyboardMaximisesEqualisesAndUndoes) {
    QLabel* const content = fill(2);
    QLabel* const elsewhere = fill(1);
    content->setFocusPolicy(Qt::StrongFocus);
    host.activateWindow();
    content->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&host));
    view.setVViewDimension(20);
    view.setFocus(1); // The focus, not the current view, says what is maximised.
    const std::string before = layout();
    const auto press = [&](Qt::Key key, QWidget* widget) {
        QTest::keyClick(widget, key, Qt::ControlModifier);
        return layout();
    };
    const std::pair<Qt::Key, std::string> steps[] = {{Qt::Key_M, "1000x0 0x0 1000x1000 0x1000"},
                                                     {Qt::Key_M, before},
                                                     {Qt::Key_E, quarters},
                                                     {Qt::Key_Z, before}};
    for (const auto& [key, expected] : steps)
        EXPECT_EQ(press(key, content), expected) << char(key);

    // The application's action wins, in the window's menu as on the window, and while disabled.
    QMenu menu(&host);
    host.addAction(menu.menuAction());
    QAction own;
    own.setShortcut(Qt::CTRL + Qt::Key_E);
    QSignalSpy spy(&own, &QAction::triggered);
    for (QWidget* place : {&host, static_cast<QWidget*>(&menu)}) {
        place->addAction(&own);
        for (const bool isEnabled : {true, false}) {
            own.setEnabled(isEnabled);
            EXPECT_EQ(press(Qt::Key_E, content), before);
            EXPECT_EQ(spy.size(), isEnabled ? 1 : 0);
            spy.clear();
        }
        place->removeAction(&own);
    }
    {
        QShortcut shortcut(own.shortcut(), &host);
        for (const bool isEnabled : {true, false}) {
            shortcut.setEnabled(isEnabled);
            EXPECT_EQ(press(Qt::Key_E, content), before);
        }
    }
    // Keys can be changed and taken away, with their place in the menu or without.
    using C = QtQuadView::LayoutCommand;
    view.layoutAction(C::Equalize)->setShortcut(Qt::CTRL + Qt::Key_Y);
    EXPECT_EQ(press(Qt::Key_E, content), before);
    EXPECT_EQ(press(Qt::Key_Y, content), quarters);
    view.layoutAction(C::Undo)->setVisible(false);
    EXPECT_EQ(press(Qt::Key_Z, content), quarters);
    view.layoutAction(C::ToggleMaximized)->trigger();
    EXPECT_EQ(layout(), "0x1000 1000x1000 0x0 1000x0") << "by itself it is for the current view";
    EXPECT_EQ(press(Qt::Key_M, elsewhere), quarters);

    // Every view may be hidden by a windmill preset of nothing but ends.
    view.setFocus(-1);
    view.setViewerDimensions({1000, 0}, {0, 1000}, {0, 1000}, {1000, 0});
    view.toggleMaximized();
    EXPECT_EQ(layout(), "1000x1000 0x1000 1000x0 0x0");
}

TEST_F(QtQuadViewTest, TheMenuOpensWhereTheRightButtonDidNotDrag) {
    using C = QtQuadView::LayoutCommand;
    fill(0)->setContextMenuPolicy(Qt::PreventContextMenu);
    fill(3);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&host));
    view.addAction(new QAction(text("of the application"), &view));
    const QPoint left(100, 100);
    const QPoint right(900, 700);
    const auto menuAfter = [&](const QPoint& from, const QPoint& to) {
        QWindow* const window = host.windowHandle();
        QTest::mousePress(window, Qt::RightButton, {}, from);
        EXPECT_FALSE(QApplication::activePopupWidget()) << "during the press";
        QTest::mouseMove(window, to);
        QTest::mouseRelease(window, Qt::RightButton, {}, to);
        QCoreApplication::processEvents();
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        std::string enabled = menu ? "" : "none";
        for (const QAction* action : menu ? menu->actions() : QList<QAction*>())
            if (!action->isSeparator())
                enabled += action->isEnabled() ? '1' : '0';
        return enabled;
    };
    const auto closeMenu = [] {
        QApplication::activePopupWidget()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    EXPECT_EQ(menuAfter(left, left), "none") << "it opted out";
    EXPECT_EQ(menuAfter(right, right - QPoint(30, 0)), "none") << "a drag";
    EXPECT_EQ(menuAfter(right, right - QPoint(1, 1)), "1001") << "all alike, nothing to undo";
    view.setFocus(0);
    view.layoutAction(C::ToggleMaximized)->trigger();
    EXPECT_EQ(layout(), "0x0 1000x0 0x1000 1000x1000") << "the view below the menu";
    closeMenu();
    QAction own(&host);
    own.setShortcut(view.layoutAction(C::Equalize)->shortcut());
    host.addAction(&own);
    EXPECT_EQ(menuAfter(right, right), "1111");
    EXPECT_TRUE(view.layoutAction(C::Undo)->isShortcutVisibleInContextMenu());
    EXPECT_FALSE(view.layoutAction(C::Equalize)->isShortcutVisibleInContextMenu())
        << "the key does something else";
    view.lockAspectRatio();
    closeMenu();
    EXPECT_EQ(menuAfter(right, right), "0001");
    closeMenu();
    view.unlockAspectRatio();
    view.forgetLayouts();
    EXPECT_FALSE(view.layoutAction(C::Undo)->isEnabled());

    QContextMenuEvent byKeyboard(QContextMenuEvent::Keyboard, right, view.mapToGlobal(right));
    QCoreApplication::sendEvent(&view, &byKeyboard);
    ASSERT_TRUE(QApplication::activePopupWidget());
    closeMenu();
    view.setContextMenuPolicy(Qt::NoContextMenu);
    EXPECT_EQ(menuAfter(right, right), "none");
}
