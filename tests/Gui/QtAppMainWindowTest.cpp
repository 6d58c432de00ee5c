#include "AppBase/AppBaseConfig.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/QtTabBar.h"
#include "Gui/GuiTest.h"

#include <QtGui/QWheelEvent>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QStackedWidget>

using namespace vlrTest;

namespace {

// The protected slots, for the tests.
class Window : public QtAppMainWindow {
public:
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
    splitter->setSizes({300, 700});
    const QList<int> before = splitter->sizes();
    ASSERT_GE(before[0], 1);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes()[0], 0);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes(), before);

    // Entering and leaving touch-screen mode exchange the sizes of both modes.
    window.setTouchScreenMode(true);
    EXPECT_GE(window.button("Exit")->height(), 35);
    splitter->setSizes({400, 600});
    const QList<int> during = splitter->sizes();
    ASSERT_NE(during, before);
    window.setTouchScreenMode(false);
    EXPECT_EQ(splitter->sizes(), before);
    window.setTouchScreenMode(true);
    EXPECT_EQ(splitter->sizes(), during);

    // Folded away by hand before anything was remembered.
    Window other;
    showActive(other);
    other.splitter()->setSizes({0, 1000});
    other.toggleContextAreaVisible();
    EXPECT_GE(other.splitter()->sizes()[0], 1);
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
    const std::tuple<const char*, Qt::Key, Qt::KeyboardModifiers> cases[] = {
        {"", Qt::Key_F2, Qt::NoModifier}, {"Ctrl+P", Qt::Key_P, Qt::ControlModifier}};
    for (const auto& [keys, key, modifiers] : cases) {
        if (*keys)
            setting("ScreenshotShortcut", keys);
        Window window;
        showActive(window);
        // Anywhere in the application, not only in the window itself.
        QWidget other;
        showActive(other);
        QSignalSpy spy(&window, &QtAppMainWindow::screenShotRequest);
        QTest::keyClick(&other, key, modifiers);
        EXPECT_EQ(spy.size(), 1);
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
    QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&bar, &wheel);
    EXPECT_EQ(bar.currentIndex(), 0);
}

TEST_F(QtAppMainWindowTest, TheWindowStaysInTheLargestRectangle) {
    Window window;
    window.show();
    window.move(700, 500);
    const QRect limit(10, 20, 640, 480);
    window.setMaxWindowSize(limit);
    EXPECT_TRUE(limit.contains(window.frameGeometry())) << window.x() << ' ' << window.y();
    window.setMaxWindowSize(QRect());
    window.resize(900, 600);
    EXPECT_EQ(window.size(), QSize(900, 600));
}
