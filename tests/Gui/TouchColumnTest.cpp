#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtControlAreaControlButtons.h"
#include "AppBase/QtPresetButton.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "AppBase/vlrControlList.h"
#include "AppBaseTest.h"
#include "Base/QtQuadView.h"
#include "DataUtils/TypedDateEdit.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateEdit>
#include <QtWidgets/QDialog>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTreeView>
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

struct TouchColumnTest : AppBaseTest {
    void SetUp() override { start(); }

    // As the program does, with two modules of which the first is active.
    void start() {
        endApp();
        app();
        QObject::connect(window(), &QtAppMainWindow::moduleActivated, window(),
                         [this](const QtAppModuleProxy* proxy) {
                             if (proxy)
                                 config = proxy->moduleGeneralOptions();
                         });
        for (const char* name : {"First", "Second"})
            ASSERT_TRUE(
                AppBase::instance()->addModule(new RecordingModule(QString::fromLatin1(name))));
        activate("First");
        window()->resize(1100, 800);
        window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window()));
        window()->occupyWindow(vlr::ControlList::instance());
        pages()->setCurrentWidget(viewer());
        setTouchScreenMode(true);
        QCoreApplication::processEvents(); // What is larger now finds its place.
        column()->setHoldDownTime(never);
        viewer()->setViewerDimensions(rows[0], rows[1], rows[2], rows[3]);
    }
    static void activate(const char* name) { AppBase::instance()->activateModule(text(name)); }
    static void setTouchScreenMode(bool on) { AppBase::instance()->setTouchScreenModeEnabled(on); }

    static QtAppMainWindow* window() { return AppBase::instance()->getMainWindow(); }
    QSplitter* splitter() { return window()->findChild<QSplitter*>(); }
    static QtQuadView* viewer() { return vlr::ControlList::instance()->getViewer(); }
    static QStackedWidget* pages() {
        return qobject_cast<QStackedWidget*>(vlr::ControlList::instance()->getWindow());
    }
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
    // Layouts tell their parents one after the other.
    static void settle() {
        for (int round = 0; round < 4; ++round)
            QCoreApplication::processEvents();
    }
    void store(int index, const Sizes& sizes) {
        config->setResourceDimensions(index, sizes[0], sizes[1], sizes[2], sizes[3]);
    }
    static QImage pictureOf(const QAbstractButton* button) {
        return button->icon().pixmap(button->iconSize()).toImage();
    }

    DataPointer<ModuleConfig> config; ///< Of the active module.
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
    const QPoint inside(20, 20);
    const QPoint outside(100, 100);
    const struct {
        std::function<void(QtPresetButton*)> end;
        QPoint release; // where the hand is then
        Sizes layout;   // after the release
        Sizes mainLayout;
    } cases[] = {
        {[](auto* b) { QTest::mouseRelease(b, Qt::LeftButton); }, outside, unequal, quarters},
        {[&](auto* b) { dragTo(b, outside); }, outside, rows, rows},
        {[](auto*) { activate("Second"); }, inside, rows, rows},
        {[](auto*) { viewer()->lockAspectRatio(); }, inside, rows, rows},
        {[](auto*) { setTouchScreenMode(false); }, inside, rows, rows},
        {[](auto*) { pages()->setCurrentIndex(0); }, inside, rows, rows},
        {[this](auto*) { config->setNoDimensionSets(0); }, inside, rows, quarters},
    };
    for (const auto& c : cases)
        for (const bool isMain : {false, true}) {
            SCOPED_TRACE(testing::Message() << &c - cases << (isMain ? ", main button" : ""));
            store(0, unequal);
            viewer()->setViewerDimensions(rows[0], rows[1], rows[2], rows[3]);
            QtPresetButton* const button = isMain ? mainButton() : presets()[0];
            QTest::mousePress(button, Qt::LeftButton);
            const auto ringFills = [button] {
                const qreal share = button->ringShare();
                return QTest::qWaitFor([&] { return button->ringShare() > share; }, patience);
            };
            ASSERT_TRUE(isMain || (ringFills() && ringFills()));
            c.end(button);
            dragTo(button, c.release); // A hand is never quite still.
            EXPECT_EQ(button->ringShare(), 0);
            const Sizes before = stored(0);
            column()->minPressTimeOver();
            EXPECT_EQ(stored(0), before);
            QTest::mouseRelease(button, Qt::LeftButton, {}, c.release);
            EXPECT_EQ(layout(), isMain ? c.mainLayout : c.layout);
            viewer()->unlockAspectRatio();
            pages()->setCurrentWidget(viewer());
            setTouchScreenMode(true);
            activate("First");
            config->setNoDimensionSets(5);
        }
}

TEST_F(TouchColumnTest, TheNumberOfPresetsFollowsTheModule) {
    const auto first = presets();
    ASSERT_EQ(first.size(), 5);
    const std::pair<int, int> cases[] = {{3, 3}, {0, 0}, {7, 7}};
    for (const auto& [sets, buttons] : cases) {
        config->setNoDimensionSets(sets);
        EXPECT_EQ(presets().size(), buttons);
        if (sets == 3) {
            EXPECT_EQ(presets(), first.mid(0, 3)) << "the last ones go";
        }
        EXPECT_TRUE(mainButton()->isVisible());
    }
    // A button without a layout of its own stores nothing, and shows nothing else.
    store(6, unequal);
    column()->setNumButtons(8);
    settle();
    const QImage emptyPicture = pictureOf(presets()[0]);
    QTest::mousePress(presets()[7], Qt::LeftButton);
    column()->minPressTimeOver();
    EXPECT_EQ(pictureOf(presets()[7]), emptyPicture);
    EXPECT_NE(pictureOf(presets()[6]), emptyPicture);
    QTest::mouseRelease(presets()[7], Qt::LeftButton);
    EXPECT_EQ(layout(), rows);
}

TEST_F(TouchColumnTest, AColumnFollowsTheConfigurationAndTheLock) {
    const DataPointer<QuadViewConfig> colors(new QuadViewConfig);
    viewer()->lockAspectRatio();
    {
        QtControlAreaControlButtons own(colors, nullptr);
        own.setNumButtons(2);
        const auto buttons = own.findChildren<QtPresetButton*>(); // the main button first
        ASSERT_EQ(buttons.size(), 3);
        EXPECT_EQ(pictureOf(buttons[2]), pictureOf(buttons[0])) << "four equal views";
        EXPECT_EQ(buttons[2]->toolTip(), text("Layout 2. Hold to store the present layout."));
        own.setButtonToViewerDimensions(0, {}, {}, {}, {});
        EXPECT_EQ(buttons[1]->toolTip(),
                  text("Layout 1 is empty. Hold to store the present layout."));
        const QImage before = pictureOf(buttons[0]);
        colors->setResourceColor(0, Qt::white);
        EXPECT_NE(pictureOf(buttons[0]), before);
        colors->setHoldDownTime(700);
        EXPECT_EQ(own.holdDownTime(), 700);
        own.update();
        EXPECT_TRUE(own.isHidden()) << "the views are locked";
    }
    colors->notify(Data::CHANGED);
    // What no column shows any more has nobody to tell.
    const DataPointer<ModuleConfig> first = config;
    activate("Second");
    endApp();
    first->notify(Data::CHANGED);
}

// Each of them can be hit with a finger: it is large enough, whole, and nothing lies over it.
TEST_F(TouchColumnTest, AllButtonsFitAFingerInASmallWindow) {
    window()->resize(1024, 600);
    for (const int layouts : {3, 10, 40}) {
        SCOPED_TRACE(layouts);
        config->setNoDimensionSets(layouts);
        settle();
        EXPECT_EQ(window()->size(), QSize(1024, 600));
        auto* const area = handle()->findChild<QScrollArea*>();
        QList<QAbstractButton*> buttons{openClose()};
        for (auto* button : column()->findChildren<QtPresetButton*>())
            if (!button->isHidden())
                buttons << button;
        EXPECT_EQ(buttons.size(), layouts + 2);
        QRegion taken;
        for (QAbstractButton* button : buttons) {
            area->ensureWidgetVisible(button, 0, 0);
            const QRegion seen = button->visibleRegion();
            EXPECT_EQ(seen, QRegion(button->rect())) << "a part is cut off";
            EXPECT_GE(std::min(button->width(), button->height()), leastSize);
            EXPECT_LE(button->iconSize().height(), button->height() - 6);
            const QRect place(button->mapTo(handle(), {}), button->size());
            if (layouts <= 10) {
                EXPECT_TRUE(!taken.intersects(place) && handle()->rect().contains(place));
            }
            taken += place;
        }
        EXPECT_EQ(area->verticalScrollBar()->isVisible(), layouts == 40);
        const QImage picture = pictureOf(mainButton());
        const QPoint fourthView(picture.width() * 5 / 8, picture.height() * 5 / 8);
        EXPECT_EQ(picture.pixelColor(fourthView), Qt::blue) << "the whole of it is shown";
    }
    config->setNoDimensionSets(3);
    settle();
    EXPECT_EQ(mainButton()->size(), QSize(58, 58)) << "as large as there is room";
    EXPECT_LT(mainButton()->mapTo(handle(), {}).y(), 10) << "at the top";
    EXPECT_GT(openClose()->geometry().bottom(), handle()->height() - 20) << "at the bottom";
}

TEST_F(TouchColumnTest, ThePresetsStandOnlyWhereViewsAre) {
    EXPECT_TRUE(mainButton()->isVisible());
    pages()->setCurrentIndex(0); // a control over the whole area
    EXPECT_FALSE(mainButton()->isVisible());
    EXPECT_TRUE(openClose()->isVisible());
    pages()->setCurrentWidget(viewer());
    EXPECT_TRUE(mainButton()->isVisible());
    QPointer<QLabel> list = new QLabel;
    window()->occupyWindow(nullptr, list);
    EXPECT_FALSE(mainButton()->isVisible());
    setTouchScreenMode(false);
    setTouchScreenMode(true);
    EXPECT_FALSE(mainButton()->isVisible());
    window()->occupyWindow(vlr::ControlList::instance());
    EXPECT_TRUE(mainButton()->isVisible());
    window()->hide();
    pages()->setCurrentIndex(0);
    window()->show();
    EXPECT_FALSE(mainButton()->isVisible());
    delete list;
}

TEST_F(TouchColumnTest, ALockedViewHidesTheColumnAndLeavingTheModeTheWholeHandle) {
    viewer()->lockAspectRatio();
    EXPECT_FALSE(column()->isVisible());
    EXPECT_TRUE(openClose()->isVisible());
    viewer()->unlockAspectRatio();
    EXPECT_TRUE(column()->isVisible());
    EXPECT_GE(splitter()->handleWidth(), leastSize);
    setTouchScreenMode(false);
    EXPECT_EQ(splitter()->handleWidth(), QSplitter().handleWidth());
    EXPECT_FALSE(openClose()->isVisible() || mainButton()->isVisible());
    setTouchScreenMode(true);
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
    EXPECT_EQ(openClose()->toolTip(), text("Open the control area"));
    EXPECT_NE(pictureOf(openClose()), left);
    EXPECT_TRUE(openClose()->isVisible()) << "there is a way back";
    QTest::mouseClick(openClose(), Qt::LeftButton);
    EXPECT_EQ(splitter()->sizes().value(0), width);
    EXPECT_EQ(pictureOf(openClose()), left);
    EXPECT_EQ(openClose()->accessibleName(), text("Close the control area"));

    // The other way round the control area is on the right.
    window()->setLayoutDirection(Qt::RightToLeft);
    const QImage right = pictureOf(openClose());
    EXPECT_NE(right, left);
    splitter()->setSizes({0, 800}); // as the window does
    EXPECT_EQ(pictureOf(openClose()), left) << "to open it";
    splitter()->setSizes({300, 800});
    EXPECT_EQ(pictureOf(openClose()), right);
}

namespace {

// The part of a spin box or a combo box that its style has for the step or the arrow.
QRect partOf(QWidget* field, QStyle::SubControl part) {
    const bool isCombo = part == QStyle::SC_ComboBoxArrow;
    QStyleOptionComboBox combo;
    QStyleOptionSpinBox spin;
    combo.initFrom(field);
    spin.initFrom(field);
    return field->style()->subControlRect(
        isCombo ? QStyle::CC_ComboBox : QStyle::CC_SpinBox,
        isCombo ? static_cast<QStyleOptionComplex*>(&combo) : &spin, part, field);
}

bool isForFinger(const QRect& rect) {
    return rect.width() >= leastSize && rect.height() >= leastSize;
}

} // namespace

TEST_F(TouchColumnTest, DialogsAreForFingersOnlyInTouchScreenMode) {
    using Field = std::pair<QWidget*, QList<QStyle::SubControl>>;
    const QList<QStyle::SubControl> steps{QStyle::SC_SpinBoxDown, QStyle::SC_SpinBoxUp};
    const QList<QStyle::SubControl> arrow{QStyle::SC_ComboBoxArrow};
    for (const char* sheet : {"", "QAbstractSpinBox, QComboBox { color: blue }"}) {
        SCOPED_TRACE(sheet);
        QDialog dialog;
        dialog.setStyleSheet(text(sheet));
        dialog.setLayoutDirection(*sheet ? Qt::RightToLeft : Qt::LeftToRight);
        auto* const layout = new QVBoxLayout(&dialog);
        auto* const date = new TypedDateEdit<QDateEdit>(nullptr);
        date->setCalendarPopup(true);
        auto* const number = new QSpinBox;
        auto* const editable = new QComboBox;
        editable->setEditable(true);
        const Field fields[] = {{number, steps},        {new QDoubleSpinBox, steps},
                                {new QDateEdit, steps}, {new QTimeEdit, steps},
                                {date, arrow},          {new QComboBox, arrow},
                                {editable, arrow}};
        auto* const button = new QPushButton(text("OK"));
        button->setMinimumHeight(12);
        layout->addWidget(button);
        auto* const bar = new QTabBar;
        bar->addTab(text("a"));
        layout->addWidget(bar);
        for (const Field& field : fields)
            layout->addWidget(field.first);
        // Opened with the mouse; the mode comes and goes while it stands there.
        for (const bool isOn : {false, true, false}) {
            window()->setTouchScreenMode(isOn);
            dialog.show();
            settle();
            EXPECT_EQ(button->height() >= leastSize, isOn);
            EXPECT_EQ(button->minimumHeight(), isOn ? leastSize : 12);
            EXPECT_EQ(bar->tabRect(0).height() >= leastSize, isOn);
            for (const auto& [field, parts] : fields) {
                SCOPED_TRACE(field->metaObject()->className());
                const auto* const edit = field->findChild<QLineEdit*>();
                EXPECT_TRUE(!edit || field->rect().contains(edit->geometry())) << "not cut off";
                for (const QStyle::SubControl part : parts) {
                    const QRect rect = partOf(field, part);
                    EXPECT_EQ(isForFinger(rect), isOn);
                    EXPECT_TRUE(!isOn || field->rect().contains(rect));
                    EXPECT_FALSE(isOn && edit && edit->geometry().intersects(rect));
                }
            }
        }
        window()->setTouchScreenMode(true);
        settle();
        const QRect more = partOf(number, QStyle::SC_SpinBoxUp);
        const QRect less = partOf(number, QStyle::SC_SpinBoxDown);
        EXPECT_FALSE(more.intersects(less));
        EXPECT_EQ(more.left() < less.left(), dialog.isRightToLeft()) << "more stands outside";
        number->setValue(5); // Both have something to do.
        const QPoint above(0, -4);
        const QImage picture = number->grab().toImage();
        EXPECT_EQ(picture.pixel(more.center()), picture.pixel(less.center()));
        EXPECT_NE(picture.pixel(more.center() + above), picture.pixel(less.center() + above));
        QTest::mouseClick(number, Qt::LeftButton, {}, more.center());
        EXPECT_EQ(number->value(), 6);
        QTest::mouseClick(number, Qt::LeftButton, {}, less.center());
        EXPECT_EQ(number->value(), 5);
        auto* const late = new QSpinBox;
        layout->addWidget(late);
        settle();
        EXPECT_TRUE(isForFinger(partOf(late, QStyle::SC_SpinBoxUp)));
    }
    // It has its size before it is on the screen.
    QDialog fresh;
    QTabWidget pages;
    auto* const page = new QWidget;
    auto* const inPage = new QVBoxLayout(page);
    for (int i = 0; i < 5; ++i)
        inPage->addWidget(new QSpinBox);
    pages.addTab(page, text("a"));
    (new QVBoxLayout(&fresh))->addWidget(&pages);
    fresh.show();
    const QSize atOnce = fresh.size();
    settle();
    EXPECT_EQ(fresh.size(), atOnce);
    EXPECT_EQ(atOnce.height(), fresh.sizeHint().height());
    // The editor of a setting stands in a row as high as itself.
    vlr::SettingsEditorDialog editor(window());
    auto* const tree = editor.findChild<QTreeView*>();
    for (const bool isOn : {true, false}) {
        window()->setTouchScreenMode(isOn);
        editor.show();
        settle();
        EXPECT_EQ(tree->visualRect(tree->currentIndex()).height() >= leastSize, isOn);
    }
}
