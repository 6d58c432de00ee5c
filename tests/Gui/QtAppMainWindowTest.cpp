#include "AppBase/AppBaseConfig.h"
#include "AppBase/AppBaseImplTest.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/Selectors/QtTabBar.h"
#include "AppBaseTest.h"

#include <QtGui/QScreen>
#include <QtWidgets/QGridLayout>

using namespace vlrTest;
using namespace std::string_literals;

namespace {

// The protected slots, for the tests.
struct Window : QtAppMainWindow {
    explicit Window(const DataPointer<MainWindowConfig>& config = nullptr)
        : QtAppMainWindow(config, nullptr, Qt::Window) {
        resize(1000, 700);
    }
    using QtAppMainWindow::toggleContextAreaVisible;

    QSplitter* splitter() const { return findChild<QSplitter*>(); }
    QWidget* viewer() const { return splitter()->widget(1); }
    QStackedWidget* contextStack() const { return findChild<QStackedWidget*>(); }
    QToolButton* button(const char* name) const {
        return findChild<QToolButton*>(QString::fromLatin1(name));
    }
};

class QtAppMainWindowTest : public GuiTest {};

} // namespace

TEST_F(QtAppMainWindowTest, ContextWidgetsAreRaisedByTheirIndex) {
    Window window;
    auto* a = new QLabel("a"_s);
    auto* b = new QLabel("b"_s);
    EXPECT_EQ(window.addContextWidget(a), 1);
    EXPECT_EQ(window.addContextWidget(b), 2);
    EXPECT_EQ(window.addContextWidget(nullptr), -1);
    const std::pair<int, int> cases[] = {{2, 2}, {1, 1}, {0, 0}, {2, 2}, {3, 2}, {-1, 2}};
    for (const auto& [index, expected] : cases) {
        window.raiseContextWidget(index);
        EXPECT_EQ(window.contextStack()->currentIndex(), expected);
    }
    // The indices stand for good, also when a widget is given twice or destroyed.
    EXPECT_EQ(window.addContextWidget(a), 1);
    delete a;
    window.raiseContextWidget(0);
    window.raiseContextWidget(2);
    EXPECT_EQ(window.contextStack()->currentWidget(), b);
    window.raiseContextWidget(1);
    EXPECT_EQ(window.contextStack()->currentWidget(), b);
}

TEST_F(QtAppMainWindowTest, TheViewerAreaHoldsOneModuleWidgetAtMost) {
    Window window;
    showActive(window);
    auto a = std::make_unique<QWidget>();
    auto b = std::make_unique<QWidget>();
    const auto occupy = [&](QWidget* widget) {
        window.occupyWindow(static_cast<QtAppModuleProxy*>(nullptr), widget);
    };
    occupy(a.get());
    EXPECT_EQ(a->parentWidget(), window.viewer());
    EXPECT_TRUE(a->isVisible());
    occupy(b.get());
    EXPECT_EQ(a->parentWidget(), nullptr);
    EXPECT_TRUE(a->isHidden());
    EXPECT_EQ(b->parentWidget(), window.viewer());
    ASSERT_TRUE(QTest::qWaitFor([&] { return b->size() == window.viewer()->size(); }, 5000));
    occupy(nullptr);
    EXPECT_EQ(b->parentWidget(), nullptr);
    EXPECT_EQ(window.viewer()->layout()->count(), 0);

    // A widget that its module destroys is not missed.
    occupy(a.get());
    a.reset();
    occupy(b.get());
    EXPECT_TRUE(b->isVisible());
    occupy(nullptr);
}

TEST_F(QtAppMainWindowTest, LayoutDirectionsFollowTheTable) {
    using D = MainWindowConfig;
    using B = QBoxLayout;
    const std::tuple<D::LayoutDirections, B::Direction, B::Direction, B::Direction> cases[] = {
        {D::LeftRight, B::TopToBottom, B::TopToBottom, B::LeftToRight},
        {D::RightLeft, B::TopToBottom, B::RightToLeft, B::RightToLeft},
        {D::TopBottom, B::TopToBottom, B::TopToBottom, B::TopToBottom},
        {D::BottomTop, B::BottomToTop, B::BottomToTop, B::BottomToTop}};
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    auto owner = std::make_unique<Window>(config);
    Window& window = *owner;
    const auto expectDirections = [&](B::Direction control, B::Direction context) {
        EXPECT_EQ(controlLayout(window)->direction(), control);
        EXPECT_EQ(contextLayout(window)->direction(), context);
    };
    for (const auto& [direction, control, controlWithButtons, context] : cases) {
        window.setSecondaryLayoutDirection(direction);
        expectDirections(control, context);
        window.setSecondaryLayoutDirection(direction, true);
        expectDirections(controlWithButtons, context);
        config->setInnerLayoutDirection(direction);
        config->notify(Data::CHANGED);
        expectDirections(control, context);
    }
    window.setSecondaryLayoutDirection(static_cast<D::LayoutDirections>(4));
    window.setMainLayoutDirection(D::LeftRight);
    window.setControlAreaSize(3);
    expectDirections(B::BottomToTop, B::BottomToTop);
    owner.reset();
    config->notify(Data::CHANGED); // The configuration may outlive the window.
}

TEST_F(QtAppMainWindowTest, TheSplitterRemembersItsSizes) {
    Window window;
    showActive(window);
    QSplitter* splitter = window.splitter();
    const auto switchTo = [&](bool on) { // A change of the configuration is told of twice.
        window.setTouchScreenMode(on);
        window.setTouchScreenMode(on);
    };
    splitter->setSizes({300, 700});
    const QList<int> before = splitter->sizes();
    ASSERT_GE(before[0], 1);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes()[0], 0);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes(), before);

    // Entering and leaving touch-screen mode exchange the sizes of both modes.
    switchTo(true);
    EXPECT_GE(window.button("Exit")->height(), 35);
    splitter->setSizes({400, 600});
    const QList<int> during = splitter->sizes();
    ASSERT_NE(during, before);
    switchTo(false);
    EXPECT_EQ(splitter->sizes(), before);
    switchTo(true);
    EXPECT_EQ(splitter->sizes(), during);

    // Closing it in that mode does not touch the width it has with the mouse.
    window.toggleContextAreaVisible();
    switchTo(false);
    EXPECT_EQ(splitter->sizes(), before);
    switchTo(true);
    EXPECT_EQ(splitter->sizes()[0], 0);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes(), during);
}

namespace {

// Counts what an object left for the event loop to do: queued calls and its own timers.
class LateCalls : public QObject {
public:
    explicit LateCalls(QObject& object) : m_object(object) { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        count += (event->type() == QEvent::MetaCall && watched == &m_object) ||
                 (event->type() == QEvent::Timer && watched->parent() == &m_object);
        return false;
    }

    int count = 0;

private:
    QObject& m_object;
};

} // namespace

TEST_F(QtAppMainWindowTest, AControlAreaDraggedShutLeavesAButtonThatOpensIt) {
    Window window;
    showActive(window);
    QSplitter* const splitter = window.splitter();
    QSplitterHandle* const handle = splitter->handle(1);
    QPushButton* button = nullptr;
    QIcon arrows[2];
    const int normalWidth = splitter->handleWidth();
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(handle->layout()->count(), 1 + round);
        EXPECT_EQ(splitter->handleWidth(), normalWidth);
        window.setLayoutDirection(round == 0 ? Qt::LeftToRight : Qt::RightToLeft);
        QCoreApplication::processEvents(); // The panes change sides.
        QTest::mousePress(handle, Qt::LeftButton, {}, {1, 100});
        const QPoint edge(round == 0 ? 1 - handle->x() : splitter->width() - handle->x() - 1, 100);
        for (const int from : {90, 60, 30, 0}) // The last move shuts it.
            dragTo(handle, edge + QPoint(round == 0 ? from : -from, 0));
        QTest::mouseRelease(handle, Qt::LeftButton, {}, {1, 100});
        ASSERT_EQ(splitter->sizes()[0], 0);
        const LateCalls calls(*splitter);
        ASSERT_TRUE(QTest::qWaitFor([&] {
            button = window.findChild<QPushButton*>("wayBack"_s);
            return button && button->isVisible();
        }));
        EXPECT_EQ(calls.count, 1) << "for all moves together";
        arrows[round] = button->icon();
        EXPECT_GE(button->width(), button->sizeHint().width());
        EXPECT_TRUE(window.rect().contains(QRect(button->mapTo(&window, {}), button->size())));
        if (round == 1)
            break;
        QTest::mouseClick(button, Qt::LeftButton);
        EXPECT_GE(splitter->sizes()[0], 1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !button->isVisible(); }));
    }
    EXPECT_NE(arrows[0].pixmap(32).toImage(), arrows[1].pixmap(32).toImage());
    // The column of touch-screen mode has a button of its own.
    ASSERT_TRUE(button->isVisible());
    window.setTouchScreenMode(true);
    EXPECT_FALSE(button->isVisible());
}

TEST_F(QtAppMainWindowTest, ALargeContextWidgetScrollsInsteadOfMakingTheWindowLarge) {
    Window window;
    auto* const small = new QLabel("small"_s);
    auto* const large = new QWidget;
    large->setMinimumSize(300, 5000);
    window.raiseContextWidget(window.addContextWidget(small));
    const int index = window.addContextWidget(large);
    showActive(window);
    const QSize screen = window.screen()->availableSize();
    auto* const area = window.contextStack();
    EXPECT_EQ(contextLayout(window)->stretch(contextLayout(window)->indexOf(area)), 20);
    EXPECT_EQ(area->indexOf(small), 1) << "what is not large stands in the stack itself";
    auto* const field = new QSpinBox(large);
    field->show();
    window.raiseContextWidget(index);
    turnWheel(field, 120);
    EXPECT_EQ(field->value(), 0);
    window.raiseContextWidget(1);
    EXPECT_LE(window.minimumSizeHint().height(), screen.height());
    EXPECT_EQ(small->height(), area->height()) << "the one behind it does not matter";
    window.raiseContextWidget(index);
    ASSERT_TRUE(QTest::qWaitFor([&] { return large->height() == 5000; }));
    EXPECT_LE(window.minimumSizeHint().height(), screen.height());
    EXPECT_EQ(window.height(), 700);
    EXPECT_GE(area->width(), large->width()) << "to the side there is room";
    window.raiseContextWidget(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return small->height() == area->height(); }));
}

TEST_F(QtAppMainWindowTest, TheButtonsMakeTheRequestsSomebodyListensTo) {
    Window window;
    const std::tuple<const char*, const char*, void (QtAppMainWindow::*)()> cases[] = {
        {"Screenshot", "Create Screenshot", &QtAppMainWindow::screenShotRequest},
        {"Configure", "Application Configuration", &QtAppMainWindow::configRequest},
        {"ConfigureFileEditor", "Launch Application Configuration File Editor",
         &QtAppMainWindow::configFileEditorRequest}};
    for (const auto& [name, toolTip, request] : cases) {
        SCOPED_TRACE(name);
        QToolButton* button = window.button(name);
        ASSERT_TRUE(button);
        EXPECT_EQ(button->toolTip().toStdString(), toolTip);
        EXPECT_FALSE(button->icon().isNull());
        EXPECT_FALSE(button->isEnabled());
        {
            QSignalSpy spy(&window, request);
            EXPECT_TRUE(button->isEnabled());
            button->click();
            EXPECT_EQ(spy.size(), 1);
        }
        EXPECT_TRUE(QTest::qWaitFor([&] { return !button->isEnabled(); }, 5000));
    }
    setting("ExitWithoutRequest", "true"_s);
    QSignalSpy exit(&window, &QtAppMainWindow::exitApplication);
    EXPECT_EQ(window.button("Exit")->toolTip(), "Quit Application"_s);
    window.button("Exit")->click();
    EXPECT_EQ(exit.size(), 1);
}

TEST_F(QtAppMainWindowTest, ClosingAsksAndOnlyYesLeaves) {
    Window window;
    window.setWindowTitle("Navigator"_s);
    showActive(window);
    QSignalSpy exit(&window, &QtAppMainWindow::exitApplication);
    const std::function<void(QMessageBox&)> answers[] = {
        [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); },
        [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); },
        [&](QMessageBox& box) {
            window.close(); // Asked again while the question is open: one question stays.
            EXPECT_EQ(exit.size(), 0);
            box.button(QMessageBox::Yes)->click();
        }};
    for (const auto& answer : answers) {
        bool asked = false;
        answerNextMessageBox([&](QMessageBox& box) {
            asked = true;
            EXPECT_EQ(box.windowTitle(), "Exit Navigator?"_s);
            EXPECT_EQ(box.text(), "Do you really want to exit?"_s);
            EXPECT_EQ(box.standardButtons(), QMessageBox::Yes | QMessageBox::No);
            answer(box);
        });
        EXPECT_FALSE(window.close());
        EXPECT_TRUE(asked);
        EXPECT_TRUE(window.isVisible());
    }
    EXPECT_EQ(exit.size(), 1);
}

TEST_F(QtAppMainWindowTest, TheScreenshotShortcutIsASetting) {
    // An empty setting switches it off.
    const std::tuple<const char*, Qt::Key, Qt::KeyboardModifiers, int> cases[] = {
        {nullptr, Qt::Key_F2, Qt::NoModifier, 1},
        {"Ctrl+P", Qt::Key_P, Qt::ControlModifier, 1},
        {"", Qt::Key_F2, Qt::NoModifier, 0}};
    for (const auto& [keys, key, modifiers, requests] : cases) {
        if (keys)
            setting("ScreenshotShortcut", keys);
        Window window;
        showActive(window);
        // Anywhere in the application, not only in the window itself.
        QWidget other;
        showActive(other);
        QSignalSpy spy(&window, &QtAppMainWindow::screenShotRequest);
        QTest::keyClick(&other, key, modifiers);
        EXPECT_EQ(spy.size(), requests);
    }
}

TEST_F(QtAppMainWindowTest, TheSelectorStandsOnTheSideItReports) {
    const std::tuple<int, int, int> cases[] = {{0, 1, 0}, {1, 1, 2},   {2, 0, 1},
                                               {3, 2, 1}, {4, -1, -1}, {-1, -1, -1}};
    Window window;
    auto* grid = qobject_cast<QGridLayout*>(window.centralWidget()->layout());
    QPointer<QtModuleSelector> selector;
    for (const auto& [position, expectedRow, expectedColumn] : cases) {
        SCOPED_TRACE(position);
        const QPointer<QtModuleSelector> previous = selector;
        selector = new QtModuleSelector(static_cast<QtModuleSelector::Position>(position));
        window.setModuleSelector(selector);
        EXPECT_FALSE(previous && (previous->isVisible() || window.isAncestorOf(previous)));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_FALSE(previous);
        int row = -1, column = -1, rows = 0, columns = 0;
        if (grid->indexOf(selector) >= 0)
            grid->getItemPosition(grid->indexOf(selector), &row, &column, &rows, &columns);
        EXPECT_EQ(row, expectedRow);
        EXPECT_EQ(column, expectedColumn);
        EXPECT_EQ(selector->isHidden(), expectedRow < 0);
    }
    window.setModuleSelector(selector);
    EXPECT_TRUE(selector) << "the same one again";
    window.setModuleSelector(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(selector);
}

TEST_F(QtAppMainWindowTest, TheWheelSwitchesNoTabs) {
    QtTabBar bar;
    bar.addTab("a"_s);
    bar.addTab("b"_s);
    turnWheel(&bar, -120);
    EXPECT_EQ(bar.currentIndex(), 0);
}

TEST_F(QtAppMainWindowTest, ARememberedPlaceIsClampedToTheScreensThatAreThere) {
    const QVector<QRect> two = {{0, 0, 1000, 800}, {1000, 0, 500, 400}};
    const std::tuple<QRect, QVector<QRect>, QRect> cases[] = {
        {{100, 90, 300, 200}, two, {100, 90, 300, 200}},
        {{900, 90, 300, 200}, two, {1000, 90, 300, 200}},    // most of it on the second one
        {{1100, 300, 300, 200}, two, {1100, 200, 300, 200}}, // hangs out below
        {{-50, 0, 300, 200}, two, {0, 20, 300, 200}},        // with its title bar
        {{5000, 5000, 300, 200}, two, {700, 600, 300, 200}}, // of a screen that is gone
        {{1000, 0, 3000, 2000}, {two[1]}, {1000, 20, 500, 380}},
        {{7, 8, 9, 10}, {}, {7, 8, 9, 10}}};
    for (const auto& [stored, screens, expected] : cases) {
        const DataPointer<WindowPlace> place(new WindowPlace);
        EXPECT_FALSE(place->isKnown());
        place->setGeometry(stored);
        EXPECT_TRUE(place->isKnown());
        EXPECT_EQ(place->geometryOn(screens, 20), expected) << stored.x();
    }
}

TEST_F(QtAppMainWindowTest, TheWindowStaysInTheLargestRectangle) {
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    Window window(config);
    window.show();
    window.move(700, 500);
    const QRect limit(10, 20, 640, 480);
    window.setMaxWindowSize(limit);
    EXPECT_TRUE(limit.contains(window.frameGeometry())) << window.x() << ' ' << window.y();
    config->windowPlace()->setGeometry({700, 500, 600, 400});
    window.restorePlace();
    EXPECT_TRUE(limit.contains(window.frameGeometry())) << window.x() << ' ' << window.y();
    window.setMaxWindowSize(QRect());
    window.resize(900, 600);
    EXPECT_EQ(window.size(), QSize(900, 600));
}

// --- the window of an application

TEST_F(AppBaseTest, TouchScreenModeIsAsymmetric) {
    AppBase& application = app();
    Announcements announced(application);
    // Both modes have the same event; a redundant "off" acts as "on".
    const std::string on = "AppBase::TOUCH_SCREEN_MODE_ON on";
    const std::string off = "AppBase::TOUCH_SCREEN_MODE_ON off";
    const std::pair<bool, std::string> cases[] = {
        {false, on}, {true, on}, {true, on}, {false, off}, {false, on}};
    for (const auto& [mode, expected] : cases) {
        application.getMainWindow()->setIconSize(QSize(24, 24));
        application.setTouchScreenModeEnabled(mode);
        EXPECT_EQ(announced.take(), expected);
        EXPECT_EQ(application.getMainWindow()->iconSize().width(), expected == on ? 100 : 24);
    }
}

TEST_F(AppBaseTest, TheShowModeIsASettingOfAnyCase) {
    const std::pair<const char*, Qt::WindowStates> cases[] = {{"normal", Qt::WindowNoState},
                                                              {"Minimized", Qt::WindowMinimized},
                                                              {"MAXIMIZED", Qt::WindowMaximized},
                                                              {"FullScreen", Qt::WindowFullScreen},
                                                              {"tiny", Qt::WindowNoState}};
    for (const auto& [mode, states] : cases) {
        SCOPED_TRACE(mode);
        setting("WindowShowMode", QString::fromLatin1(mode));
        if (mode == "tiny"s)
            expectLog(LogLevel::Warning, "WindowShowMode\" is \"tiny\"");
        const QtAppMainWindow* const window = app().getMainWindow();
        runUntil([&, mode = mode, expected = states] {
            EXPECT_EQ(window->windowState() & ~Qt::WindowActive, expected);
            EXPECT_EQ(window->isVisible(), mode != "tiny"s) << "an unknown mode shows nothing";
        });
        endApp();
    }
}

TEST_F(AppBaseTest, TheWindowComesBackWhereItWas) {
    const QRect place(40, 50, 700, 500);
    const QRect screen = app().getMainWindow()->screen()->availableGeometry();
    for (const char* mode : {"normal", "maximized", "normal"}) {
        SCOPED_TRACE(mode);
        endApp();
        setting("WindowShowMode", mode);
        const bool isKnown = QFile::exists(configuration());
        QtAppMainWindow* const window = app().getMainWindow();
        const auto switchMode = [&](bool on) { // as the dialog's Ok does
            impl->config()->setTouchScreenModeEnabled(on);
            for (int i = 0; i < 2; ++i)
                impl->config()->notify(Data::CHANGED);
        };
        runUntil([&] {
            auto* const splitter = window->findChild<QSplitter*>();
            EXPECT_EQ(window->isMaximized(), mode == "maximized"s);
            if (!isKnown) {
                EXPECT_GE(window->width(), screen.width() / 2) << "a usable size";
                window->setGeometry(place);
                splitter->setSizes({300, 390});
                switchMode(true);
                splitter->setSizes({330, 300});
                EXPECT_EQ(splitter->sizes()[0], 330);
                switchMode(false);
                return;
            }
            EXPECT_EQ(mode == "normal"s ? window->geometry() : window->normalGeometry(), place);
            EXPECT_EQ(splitter->sizes()[0], 300);
            switchMode(true);
            EXPECT_EQ(splitter->sizes()[0], 330);
            switchMode(false);
        });
    }
}

TEST_F(AppBaseTest, TheIdentificationReachesWindowAndApplication) {
    AppBase& application = app();
    const QIcon icon(QPixmap(16, 16));
    application.setApplicationIdentification("Title"_s, icon, "Icon text"_s);
    QtAppMainWindow* window = application.getMainWindow();
    EXPECT_EQ(window->windowTitle(), "Title"_s);
    EXPECT_EQ(window->windowIconText(), "Icon text"_s);
    for (const QIcon& each : {window->windowIcon(), QApplication::windowIcon()})
        EXPECT_EQ(each.cacheKey(), icon.cacheKey());

    AppBase::setBusyCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::WaitCursor);
    AppBase::resetCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(AppBaseTest, TheTestWidgetDrivesTheWindow) {
    AppBase& application = app();
    AppBaseImplTest widget;
    QStringList directions;
    for (auto* button : widget.findChildren<QPushButton*>()) {
        button->click();
        directions << button->text() +
                          QString::number(contextLayout(*application.getMainWindow())->direction());
    }
    // The main direction is fixed; the secondary one follows the button.
    EXPECT_EQ(take(directions, "|"),
              "Main TopBottom2|Main BottomTop2|Main LeftRight2|Main RightLeft2|"
              "Secondary TopBottom2|Secondary BottomTop3|Secondary LeftRight0|"
              "Secondary RightLeft1");
}
