#include "AppBase/AppBase.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtControlAreaControlButtons.h"
#include "AppBase/QtPresetButton.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Gui/GuiTest.h"
#include "Gui/Text.h"
#include "IO/DataIOManager.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QDateEdit>
#include <QtWidgets/QDialog>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

using namespace vlrTest;

namespace {

constexpr int patience = 60000;
constexpr int never = 1000000; // milliseconds
constexpr int leastSize = 35;  // pixels

using Sizes = std::array<QSize, 4>;
const Sizes quarters{QSize(500, 500), QSize(500, 500), QSize(500, 500), QSize(500, 500)};
const Sizes rows{QSize(700, 400), QSize(300, 400), QSize(700, 600), QSize(300, 600)};
const Sizes unequal{QSize(200, 800), QSize(800, 800), QSize(200, 200), QSize(800, 200)};
const Sizes empty{};

class TouchColumnTest : public testing::Test {
protected:
    TouchColumnTest() { start(); }
    ~TouchColumnTest() override {
        app.reset();
        DataIOManager::closeRepository();
    }

    // As the program does, with two modules of which the first is active.
    void start() {
        app.reset();
        app = std::make_unique<AppBase>(m_argc, m_argv);
        QObject::connect(window(), &QtAppMainWindow::moduleActivated, window(),
                         [this](const QtAppModuleProxy* proxy) {
                             if (proxy)
                                 config = proxy->moduleGeneralOptions();
                         });
        for (const char* name : {"First", "Second"})
            ASSERT_TRUE(app->addModule(new RecordingModule(QString::fromLatin1(name))));
        activate("First");
        window()->resize(1100, 800);
        window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window()));
        window()->occupyWindow(vlr::ControlList::instance());
        app->setTouchScreenModeEnabled(true);
        QCoreApplication::processEvents(); // What is larger now finds its place.
        column()->setHoldDownTime(never);
        viewer()->setViewerDimensions(rows[0], rows[1], rows[2], rows[3]);
    }
    void activate(const char* name) { app->activateModule(QString::fromLatin1(name)); }

    QtAppMainWindow* window() { return app->getMainWindow(); }
    QSplitter* splitter() { return window()->findChild<QSplitter*>(); }
    static QtQuadView* viewer() { return vlr::ControlList::instance()->getViewer(); }
    // The splitter makes a handle before its first pane, too, and never shows it.
    QWidget* handle() { return splitter()->handle(1); }
    QtControlAreaControlButtons* column() {
        return handle()->findChild<QtControlAreaControlButtons*>();
    }
    QtPresetButton* mainButton() { return column()->findChild<QtPresetButton*>(text("allAlike")); }
    QList<QtPresetButton*> presets() {
        QList<QtPresetButton*> result;
        for (QtPresetButton* button : column()->findChildren<QtPresetButton*>())
            if (button != mainButton() && !button->isHidden())
                result << button;
        return result;
    }
    QToolButton* openClose() { return handle()->findChild<QToolButton*>(text("openClose")); }
    static Sizes layout() {
        Sizes sizes;
        viewer()->viewerDimensions(sizes[0], sizes[1], sizes[2], sizes[3]);
        return sizes;
    }
    Sizes stored(int index) {
        Sizes sizes;
        config->resourceDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
        return sizes;
    }
    void store(int index, const Sizes& sizes) {
        config->setResourceDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
    }
    static QImage pictureOf(const QAbstractButton* button) {
        return button->icon().pixmap(button->iconSize()).toImage();
    }

    std::unique_ptr<AppBase> app;
    DataPointer<ModuleConfig> config; ///< Of the active module.

private:
    int m_argc = 1;
    char m_name[12] = "vlrGuiTests";
    char* m_argv[2] = {m_name, nullptr};
};

} // namespace

TEST_F(TouchColumnTest, AShortPressAppliesAndStoresNothing) {
    store(1, unequal);
    EXPECT_NE(pictureOf(presets()[0]), pictureOf(presets()[1])) << "one is empty";
    QTest::mouseClick(presets()[0], Qt::LeftButton);
    EXPECT_EQ(layout(), rows);
    EXPECT_EQ(stored(0), empty);
    QTest::mouseClick(presets()[1], Qt::LeftButton);
    EXPECT_EQ(layout(), unequal);
    EXPECT_EQ(stored(1), unequal);
    QTest::mouseClick(mainButton(), Qt::LeftButton);
    EXPECT_EQ(layout(), quarters);
    presets()[1]->setFocus();
    QTest::keyClick(presets()[1], Qt::Key_Space);
    EXPECT_EQ(layout(), unequal) << "the keyboard presses, too";
}

TEST_F(TouchColumnTest, HoldingStoresAndTheReleaseKeepsTheLayout) {
    store(1, unequal);
    const QImage before = pictureOf(presets()[1]);
    column()->setHoldDownTime(1);
    QTest::mousePress(presets()[1], Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([this] { return stored(1) == rows; }, patience));
    EXPECT_EQ(presets()[1]->ringShare(), 0) << "it is done";
    EXPECT_NE(pictureOf(presets()[1]), before);
    QTest::mouseRelease(presets()[1], Qt::LeftButton);
    EXPECT_EQ(layout(), rows);
    for (const int other : {0, 2, 3, 4})
        EXPECT_EQ(stored(other), empty);

    QTest::mousePress(mainButton(), Qt::LeftButton);
    column()->minPressTimeOver();
    QTest::mouseRelease(mainButton(), Qt::LeftButton);
    EXPECT_EQ(layout(), quarters);
    EXPECT_EQ(stored(1), rows) << "the main button stores nothing";
}

TEST_F(TouchColumnTest, WhatEndsAHoldStoresNothing) {
    QtPresetButton* const button = presets()[0];
    const QPoint outside = button->rect().bottomRight() + QPoint(40, 40);
    const struct {
        std::function<void()> end;
        Sizes layout; // after the release
    } cases[] = {
        {[&] { QTest::mouseRelease(button, Qt::LeftButton); }, unequal}, // applies it
        {[&] {
             QMouseEvent move(QEvent::MouseMove, outside, button->mapToGlobal(outside),
                              Qt::NoButton, Qt::LeftButton, {});
             QCoreApplication::sendEvent(button, &move);
         },
         rows},
        {[this] { activate("Second"); }, rows},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        store(0, unequal);
        viewer()->setViewerDimensions(rows[0], rows[1], rows[2], rows[3]);
        QTest::mousePress(button, Qt::LeftButton);
        ASSERT_TRUE(QTest::qWaitFor([&] { return button->ringShare() > 0; }, patience));
        const qreal share = button->ringShare();
        EXPECT_TRUE(QTest::qWaitFor([&] { return button->ringShare() > share; }, patience));
        c.end();
        EXPECT_EQ(button->ringShare(), 0);
        const Sizes before = stored(0);
        column()->minPressTimeOver();
        EXPECT_EQ(stored(0), before);
        QTest::mouseRelease(button, Qt::LeftButton, {}, outside);
        EXPECT_EQ(layout(), c.layout);
    }
}

TEST_F(TouchColumnTest, TheNumberOfPresetsFollowsTheModule) {
    const auto first = presets();
    ASSERT_EQ(first.size(), 5);
    const std::pair<int, int> cases[] = {{3, 3}, {0, 0}, {7, 7}};
    for (const auto& [sets, buttons] : cases) {
        config->setNoDimensionSets(sets);
        column()->update();
        QCoreApplication::processEvents(); // New buttons are shown by then.
        EXPECT_EQ(presets().size(), buttons);
        if (sets == 3) {
            EXPECT_EQ(presets(), first.mid(0, 3)) << "the last ones go";
        }
        EXPECT_TRUE(mainButton()->isVisible());
    }
}

TEST_F(TouchColumnTest, ALockedViewHidesTheColumnAndLeavingTheModeTheWholeHandle) {
    viewer()->lockAspectRatio();
    EXPECT_FALSE(column()->isVisible());
    EXPECT_TRUE(openClose()->isVisible());
    viewer()->unlockAspectRatio();
    EXPECT_TRUE(column()->isVisible());
    EXPECT_GE(splitter()->handleWidth(), leastSize);
    app->setTouchScreenModeEnabled(false);
    EXPECT_EQ(splitter()->handleWidth(), QSplitter().handleWidth());
    EXPECT_FALSE(openClose()->isVisible() || mainButton()->isVisible());
    app->setTouchScreenModeEnabled(true);
    EXPECT_TRUE(mainButton()->isVisible());
}

TEST_F(TouchColumnTest, EachModuleKeepsItsPresetsOverARestart) {
    column()->setHoldDownTime(1);
    QTest::mousePress(presets()[2], Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([this] { return stored(2) == rows; }, patience));
    QTest::mouseRelease(presets()[2], Qt::LeftButton);
    const QImage picture = pictureOf(presets()[2]);
    activate("Second");
    EXPECT_EQ(stored(2), empty);
    EXPECT_NE(pictureOf(presets()[2]), picture);
    store(2, unequal);

    start();
    EXPECT_EQ(stored(2), rows);
    EXPECT_EQ(pictureOf(presets()[2]), picture);
    activate("Second");
    QTest::mouseClick(presets()[2], Qt::LeftButton);
    EXPECT_EQ(layout(), unequal);
}

TEST_F(TouchColumnTest, TheArrowOpensAndClosesTheControlArea) {
    const auto isOpen = [this] { return splitter()->sizes().value(0) > 0; };
    ASSERT_TRUE(isOpen());
    const QImage left = pictureOf(openClose());
    splitter()->setSizes({300, 800});
    const int width = splitter()->sizes().value(0);
    QTest::mouseClick(openClose(), Qt::LeftButton);
    EXPECT_FALSE(isOpen());
    EXPECT_NE(pictureOf(openClose()), left);
    EXPECT_TRUE(openClose()->isVisible()) << "there is a way back";
    QTest::mouseClick(openClose(), Qt::LeftButton);
    EXPECT_EQ(splitter()->sizes().value(0), width);
    EXPECT_EQ(pictureOf(openClose()), left);
}

TEST_F(TouchColumnTest, DialogsAreForFingersOnlyInTouchScreenMode) {
    const auto buttonHeight = [] {
        QDialog dialog;
        auto* const layout = new QVBoxLayout(&dialog);
        auto* const button = new QPushButton(text("OK"));
        auto* const date = new QDateEdit;
        layout->addWidget(button);
        layout->addWidget(date);
        dialog.show();
        layout->activate();
        const auto* const edit = date->findChild<QLineEdit*>();
        EXPECT_TRUE(date->rect().contains(edit->geometry())) << "It is not cut off";
        return button->height();
    };
    EXPECT_GE(buttonHeight(), leastSize);
    window()->setTouchScreenMode(false);
    EXPECT_LT(buttonHeight(), leastSize);
}
