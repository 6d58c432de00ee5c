#include "AppBase/AppBaseConfig.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/QtTabBar.h"
#include "Gui/GuiTest.h"
#include "Settings/vlrSettings.h"

#include <QtGui/QWheelEvent>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QToolButton>

using namespace vlrTest;

namespace {

// The protected slots, for the tests.
class Window : public QtAppMainWindow {
public:
    explicit Window(const DataPointer<MainWindowConfig>& config = nullptr)
        : QtAppMainWindow(config, nullptr, Qt::Window) {
        resize(1000, 700);
    }
    using QtAppMainWindow::exitRequest;
    using QtAppMainWindow::toggleContextAreaVisible;

    QSplitter* splitter() const { return findChild<QSplitter*>(); }
    QWidget* viewer() const { return splitter()->widget(1); }
    QStackedWidget* contextStack() const { return findChild<QStackedWidget*>(); }
    QBoxLayout* controlLayout() const {
        return qobject_cast<QBoxLayout*>(splitter()->widget(0)->layout());
    }
    QBoxLayout* contextLayout() const {
        for (int i = 0; i < controlLayout()->count(); ++i)
            if (auto* layout = qobject_cast<QBoxLayout*>(controlLayout()->itemAt(i)->layout()))
                return layout;
        return nullptr;
    }
    QToolButton* button(const char* name) const {
        return findChild<QToolButton*>(QString::fromLatin1(name));
    }
    void showAndWait() {
        show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(this));
    }
};

class QtAppMainWindowTest : public GuiTest {};

void setting(const char* name, const QString& value) {
    ASSERT_EQ(
        vlr::Settings::set(QStringLiteral("Velora/Application/") + QLatin1String(name), value),
        CaError::nullError);
}

class SideSelector : public QtModuleSelector {
public:
    explicit SideSelector(int position)
        : QtModuleSelector(static_cast<Position>(position)), destroyed(nullptr) {}
    ~SideSelector() override {
        if (destroyed)
            *destroyed = true;
    }
    bool* destroyed;
};

} // namespace

TEST_F(QtAppMainWindowTest, ContextWidgetsAreRaisedByTheirIndex) {
    Window window;
    auto* a = new QLabel(QStringLiteral("a"));
    auto* b = new QLabel(QStringLiteral("b"));
    EXPECT_EQ(window.addContextWidget(a), 1);
    EXPECT_EQ(window.addContextWidget(b), 2);
    EXPECT_EQ(window.addContextWidget(nullptr), -1);
    const struct {
        int index;
        int expected;
    } cases[] = {{2, 2}, {1, 1}, {0, 0}, {2, 2}, {3, 2}, {-1, 2}};
    for (const auto& c : cases) {
        window.raiseContextWidget(c.index);
        EXPECT_EQ(window.contextStack()->currentIndex(), c.expected);
    }
    // The indices stand for good, also when a widget is given twice or destroyed.
    EXPECT_EQ(window.addContextWidget(a), 1);
    delete a;
    window.raiseContextWidget(2);
    EXPECT_EQ(window.contextStack()->currentWidget(), b);
    window.raiseContextWidget(1);
    EXPECT_EQ(window.contextStack()->currentWidget(), b);
    auto* c = new QLabel(QStringLiteral("c"));
    EXPECT_EQ(window.addContextWidget(c), 3);
}

TEST_F(QtAppMainWindowTest, TheViewerAreaHoldsOneModuleWidgetAtMost) {
    Window window;
    window.showAndWait();
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
    const struct {
        D::LayoutDirections direction;
        B::Direction control, controlWithButtons, context, configured;
    } cases[] = {
        {D::LeftRight, B::TopToBottom, B::TopToBottom, B::LeftToRight, B::TopToBottom},
        {D::RightLeft, B::TopToBottom, B::RightToLeft, B::RightToLeft, B::TopToBottom},
        {D::TopBottom, B::TopToBottom, B::TopToBottom, B::TopToBottom, B::TopToBottom},
        {D::BottomTop, B::BottomToTop, B::BottomToTop, B::BottomToTop, B::BottomToTop},
    };
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    Window window(config);
    for (const auto& c : cases) {
        window.setSecondaryLayoutDirection(c.direction);
        EXPECT_EQ(window.controlLayout()->direction(), c.control);
        EXPECT_EQ(window.contextLayout()->direction(), c.context);
        window.setSecondaryLayoutDirection(c.direction, true);
        EXPECT_EQ(window.controlLayout()->direction(), c.controlWithButtons);
        EXPECT_EQ(window.contextLayout()->direction(), c.context);

        config->setInnerLayoutDirection(c.direction);
        config->notify(Data::CHANGED);
        EXPECT_EQ(window.controlLayout()->direction(), c.configured);
        EXPECT_EQ(window.contextLayout()->direction(), c.context);
    }
    window.setSecondaryLayoutDirection(static_cast<D::LayoutDirections>(4));
    EXPECT_EQ(window.contextLayout()->direction(), B::BottomToTop);
    window.setMainLayoutDirection(D::LeftRight);
    window.setControlAreaSize(3);
    EXPECT_EQ(window.contextLayout()->direction(), B::BottomToTop);
}

TEST_F(QtAppMainWindowTest, TheConfigurationMayOutliveTheWindow) {
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    { const Window window(config); }
    config->notify(Data::CHANGED);
}

TEST_F(QtAppMainWindowTest, TheContextAreaFoldsAwayAndComesBack) {
    Window window;
    window.addContextWidget(new QLabel(QStringLiteral("context")));
    window.showAndWait();
    QSplitter* splitter = window.splitter();
    splitter->setSizes({300, 700});
    const QList<int> open = splitter->sizes();
    ASSERT_GE(open[0], 1);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes()[0], 0);
    window.toggleContextAreaVisible();
    EXPECT_EQ(splitter->sizes(), open);

    // Folded away by hand before anything was remembered.
    Window other;
    other.showAndWait();
    other.splitter()->setSizes({0, 1000});
    other.toggleContextAreaVisible();
    EXPECT_GE(other.splitter()->sizes()[0], 1);
}

TEST_F(QtAppMainWindowTest, LeavingTouchScreenModeRestoresTheSizesFromBefore) {
    Window window;
    window.showAndWait();
    QSplitter* splitter = window.splitter();
    splitter->setSizes({300, 700});
    const QList<int> before = splitter->sizes();
    window.setTouchScreenMode(true);
    EXPECT_GE(window.button("Exit")->height(), 35);
    splitter->setSizes({400, 600});
    const QList<int> during = splitter->sizes();
    ASSERT_NE(during, before);
    window.setTouchScreenMode(false);
    EXPECT_EQ(splitter->sizes(), before);
    window.setTouchScreenMode(true);
    EXPECT_EQ(splitter->sizes(), during);
}

TEST_F(QtAppMainWindowTest, TheButtonsMakeTheRequestsSomebodyListensTo) {
    Window window;
    const struct {
        const char* name;
        const char* toolTip;
        void (QtAppMainWindow::*request)();
    } cases[] = {
        {"Screenshot", "Create Screenshot", &QtAppMainWindow::screenShotRequest},
        {"Configure", "Application Configuration", &QtAppMainWindow::configRequest},
        {"ConfigureFileEditor", "Launch Application Configuration File Editor",
         &QtAppMainWindow::configFileEditorRequest},
    };
    for (const auto& c : cases) {
        QToolButton* button = window.button(c.name);
        ASSERT_TRUE(button) << c.name;
        EXPECT_EQ(button->toolTip().toStdString(), c.toolTip);
        EXPECT_FALSE(button->icon().isNull());
        EXPECT_FALSE(button->isEnabled()) << c.name;
        {
            QSignalSpy spy(&window, c.request);
            EXPECT_TRUE(button->isEnabled()) << c.name;
            button->click();
            EXPECT_EQ(spy.size(), 1) << c.name;
        }
        EXPECT_TRUE(QTest::qWaitFor([&] { return !button->isEnabled(); }, 5000));
    }
    setting("ExitWithoutRequest", QStringLiteral("true"));
    QSignalSpy exit(&window, &QtAppMainWindow::exitApplication);
    EXPECT_EQ(window.button("Exit")->toolTip(), QStringLiteral("Quit Application"));
    window.button("Exit")->click();
    EXPECT_EQ(exit.size(), 1);
}

TEST_F(QtAppMainWindowTest, ClosingAsksAndOnlyYesLeaves) {
    Window window;
    window.setWindowTitle(QStringLiteral("Navigator"));
    window.showAndWait();
    QSignalSpy exit(&window, &QtAppMainWindow::exitApplication);
    const struct {
        std::function<void(QMessageBox&)> answer;
        int exits;
    } cases[] = {
        {[](QMessageBox& box) { box.button(QMessageBox::No)->click(); }, 0},
        {[](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); }, 0},
        {[](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); }, 0},
        {[](QMessageBox& box) { box.close(); }, 0},
        {[&](QMessageBox& box) {
             window.close(); // Asked again while the question is open: one question stays.
             box.button(QMessageBox::Yes)->click();
         },
         1},
    };
    for (const auto& c : cases) {
        bool asked = false;
        answerNextMessageBox([&](QMessageBox& box) {
            asked = true;
            EXPECT_EQ(box.windowTitle(), QStringLiteral("Exit Navigator?"));
            EXPECT_EQ(box.text(), QStringLiteral("Do you really want to exit?"));
            EXPECT_EQ(box.standardButtons(), QMessageBox::Yes | QMessageBox::No);
            EXPECT_EQ(box.iconPixmap().size() / box.iconPixmap().devicePixelRatio(), QSize(50, 50));
            c.answer(box);
        });
        EXPECT_FALSE(window.close());
        EXPECT_TRUE(asked);
        EXPECT_TRUE(window.isVisible());
        EXPECT_EQ(exit.size(), c.exits);
    }
}

TEST_F(QtAppMainWindowTest, TheScreenshotShortcutIsASetting) {
    const struct {
        const char* setting;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
    } cases[] = {{nullptr, Qt::Key_F2, Qt::NoModifier}, {"Ctrl+P", Qt::Key_P, Qt::ControlModifier}};
    for (const auto& c : cases) {
        if (c.setting)
            setting("ScreenshotShortcut", QString::fromLatin1(c.setting));
        Window window;
        window.showAndWait();
        // Anywhere in the application, not only in the window itself.
        QWidget other;
        other.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
        other.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
        QSignalSpy spy(&window, &QtAppMainWindow::screenShotRequest);
        QTest::keyClick(&other, c.key, c.modifiers);
        EXPECT_EQ(spy.size(), 1);
    }
    setting("ScreenshotShortcut", QStringLiteral("no such key"));
    expectLog(vlr::LogLevel::Warning, "no such key");
    const Window window;
}

TEST_F(QtAppMainWindowTest, TheSelectorStandsOnTheSideItReports) {
    const struct {
        int position;
        int row, column;
    } cases[] = {{0, 1, 0}, {1, 1, 2}, {2, 0, 1}, {3, 2, 1}, {4, -1, -1}, {-1, -1, -1}};
    Window window;
    auto* grid = qobject_cast<QGridLayout*>(window.centralWidget()->layout());
    bool destroyed = false;
    SideSelector* previous = nullptr;
    for (const auto& c : cases) {
        auto* selector = new SideSelector(c.position);
        if (previous)
            previous->destroyed = &destroyed;
        destroyed = false;
        window.setModuleSelector(selector);
        EXPECT_EQ(destroyed, previous != nullptr);
        previous = selector;
        const int index = grid->indexOf(selector);
        ASSERT_EQ(index >= 0, c.row >= 0) << c.position;
        EXPECT_EQ(selector->isHidden(), c.row < 0) << c.position;
        if (index < 0)
            continue;
        int row = 0, column = 0, rows = 0, columns = 0;
        grid->getItemPosition(index, &row, &column, &rows, &columns);
        EXPECT_EQ(row, c.row) << c.position;
        EXPECT_EQ(column, c.column) << c.position;
    }
    window.setModuleSelector(previous);
    previous->destroyed = &destroyed;
    destroyed = false;
    window.setModuleSelector(nullptr);
    EXPECT_TRUE(destroyed);
}

TEST_F(QtAppMainWindowTest, TheLogoIsShownWhenAskedFor) {
    EXPECT_EQ(Window().findChild<QLabel*>(QStringLiteral("logo")), nullptr);
    setting("DisplayLogo", QStringLiteral("true"));
    const Window window;
    const auto* logo = window.findChild<QLabel*>(QStringLiteral("logo"));
    ASSERT_TRUE(logo);
    EXPECT_EQ(logo->minimumSize(), QSize(179, 150));
    EXPECT_FALSE(logo->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_EQ(window.controlLayout()->indexOf(const_cast<QLabel*>(logo)), 0);
}

TEST_F(QtAppMainWindowTest, ItsSizeCanBeLimited) {
    Window window;
    window.showAndWait();
    window.move(700, 500);
    const QRect limit(10, 20, 640, 480);
    window.setMaxWindowSize(limit);
    EXPECT_LE(window.width(), 640);
    EXPECT_LE(window.height(), 480);
    EXPECT_TRUE(limit.contains(window.frameGeometry())) << window.x() << ' ' << window.y();
    window.setMaxWindowSize(QRect());
    window.resize(900, 600);
    EXPECT_EQ(window.size(), QSize(900, 600));
}

TEST_F(QtAppMainWindowTest, TheWheelSwitchesNoTabs) {
    QtTabBar bar;
    bar.addTab(QStringLiteral("a"));
    bar.addTab(QStringLiteral("b"));
    QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&bar, &wheel);
    EXPECT_EQ(bar.currentIndex(), 0);
}
