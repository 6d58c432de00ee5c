#include "AppBase/Selectors/QtModuleButtonSelector.h"
#include "AppBase/Selectors/QtModuleRadioButtonSelector.h"
#include "AppBase/Selectors/QtModuleStepper.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "AppBaseTest.h"

#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QRadioButton>

using namespace vlrTest;
using Selector = QtModuleSelector;

namespace {

struct ModuleSelectorsTest : WindowTest {
    // Everything a selector asks for, as text.
    void listenTo(QtModuleSelector& selector) {
        QObject::connect(&selector, QOverload<QString>::of(&Selector::activateModule),
                         [this](const QString& name) { calls << QLatin1Char('"') + name; });
        QObject::connect(&selector, QOverload<int>::of(&Selector::activateModule),
                         [this](int index) { calls << QString::number(index); });
        QObject::connect(&selector, &Selector::nextModule, [this] { calls << "next"_s; });
        QObject::connect(&selector, &Selector::previousModule, [this] { calls << "previous"_s; });
        QObject::connect(&selector, &Selector::deactivateAllModules, [this] { calls << "none"_s; });
    }
    std::string takeRequests() { return take(calls, " "); }

    static void show(QWidget& widget) {
        widget.resize(700, 300);
        showActive(widget);
    }

    static void addModules(QtModuleSelector& selector, int count) {
        for (int i = 0; i < count; ++i)
            selector.addModule("m%1"_s.arg(i), i);
    }
};

QAbstractButton* buttonNamed(const QWidget& parent, const char* name) {
    return parent.findChild<QAbstractButton*>(QString::fromLatin1(name));
}

QTabBar* innerBar(const QWidget& selector) {
    return selector.findChild<QTabBar*>();
}

void clickTab(QTabBar* bar, int tab) {
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

struct RecordingSelector : QtModuleSelector {
    RecordingSelector() : QtModuleSelector(Top) {}
    void addModule(QString name, int) override { calls << "add "_s + name; }
    void moduleActivated(QString name, int) override { calls << "on "_s + name; }
    void moduleDeactivated(QString name, int) override { calls << "off "_s + name; }
    void moduleDisabled(QString name, int) override { calls << "dis "_s + name; }
    void moduleEnabled(QString name, int) override { calls << "en "_s + name; }
    QStringList calls;
};

} // namespace

// --- buttons

TEST_F(ModuleSelectorsTest, AButtonIsKnownByNameAndIndexAndSendsItsText) {
    QtModuleButtonSelector selector(Selector::Top);
    listenTo(selector);
    const QString name = "A & B"_s;
    selector.addModule(name, 0);
    selector.addModule(name, 1);
    auto* first = selector.findChild<QToolButton*>(name + "_0"_s);
    auto* second = selector.findChild<QToolButton*>(name + "_1"_s);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->focusPolicy(), Qt::NoFocus);
    EXPECT_TRUE(first->isCheckable());
    second->click();
    EXPECT_EQ(takeRequests(), "\"A & B");
    // The last button of an exclusive group is not unchecked by a click; nothing new is asked.
    selector.moduleActivated(name, 0);
    EXPECT_TRUE(first->isChecked());
    EXPECT_EQ(takeRequests(), "");
    selector.moduleDisabled(name, 1);
    EXPECT_FALSE(second->isEnabled());
    second->hide();
    selector.moduleEnabled(name, 1);
    EXPECT_TRUE(second->isEnabled());
    EXPECT_FALSE(second->isHidden());
    selector.moduleActivated("unknown"_s, 7);
    EXPECT_TRUE(first->isChecked());
    selector.moduleDeactivated(name, 0);
    EXPECT_FALSE(first->isChecked());
    // The list may describe itself more than once.
    selector.addModule(name, 0);
    EXPECT_EQ(selector.findChildren<QToolButton*>(first->objectName()).size(), 1);
}

TEST_F(ModuleSelectorsTest, ButtonsScrollIntoViewAndRadioButtonsSendTheirText) {
    QtModuleButtonSelector selector(Selector::Top);
    addModules(selector, 200);
    show(selector);
    selector.moduleActivated("m199"_s, 199);
    const auto* last = buttonNamed(selector, "m199_199");
    EXPECT_TRUE(selector.rect().contains(last->mapTo(&selector, last->rect().center())));

    QtModuleRadioButtonSelector radios(Selector::Left);
    listenTo(radios);
    addModules(radios, 3);
    auto* radio = qobject_cast<QRadioButton*>(buttonNamed(radios, "m1_1"));
    ASSERT_TRUE(radio);
    radio->click();
    EXPECT_EQ(takeRequests(), "\"m1");
}

TEST_F(ModuleSelectorsTest, RequestButtonsReachTheWindow) {
    setting("ExitWithoutRequest", true);
    QtModuleButtonSelector selector(Selector::Top, true, true, true, true, true);
    const QtModuleTabSelector tabs(Selector::Top, false, true, false, false);
    listenTo(selector);
    EXPECT_FALSE(buttonNamed(selector, "Configure")->isEnabled());
    const std::pair<const char*, void (QtAppMainWindow::*)()> buttons[] = {
        {"Screenshot", &QtAppMainWindow::screenShotRequest},
        {"Configure", &QtAppMainWindow::configRequest},
        {"ConfigureFileEditor", &QtAppMainWindow::configFileEditorRequest},
        {"Exit", &QtAppMainWindow::exitApplication}};
    for (const auto& [name, request] : buttons) {
        QSignalSpy requested(window.get(), request);
        buttonNamed(selector, name)->click();
        EXPECT_EQ(requested.size(), 1) << name;
        EXPECT_EQ(innerBar(tabs)->isTabEnabled(0), request == &QtAppMainWindow::configRequest);
    }
    EXPECT_FALSE(buttonNamed(selector, "Home"));
    EXPECT_EQ(takeRequests(), "");
    EXPECT_EQ(QtModuleButtonSelector(Selector::Top).findChildren<QToolButton*>().size(), 0);
}

TEST_F(ModuleSelectorsTest, AClickThatTheListIgnoresChangesNothing) {
    QtModuleButtonSelector buttons(Selector::Top);
    QtModuleTabSelector tabs(Selector::Top, false, false, false, false);
    for (QtModuleSelector* selector :
         {static_cast<QtModuleSelector*>(&buttons), static_cast<QtModuleSelector*>(&tabs)}) {
        listenTo(*selector);
        addModules(*selector, 3);
        selector->moduleActivated("m1"_s, 1);
        EXPECT_EQ(takeRequests(), "") << "following asks for nothing";
    }
    const auto checked = [&] { return buttons.findChild<QButtonGroup*>()->checkedButton(); };
    buttonNamed(buttons, "m2_2")->click();
    EXPECT_EQ(checked(), buttonNamed(buttons, "m1_1"));
    buttons.moduleDeactivated("m1"_s, 1);
    buttonNamed(buttons, "m1_1")->click();
    EXPECT_EQ(checked(), nullptr);
    innerBar(tabs)->setCurrentIndex(2);
    EXPECT_EQ(innerBar(tabs)->currentIndex(), 1);
    EXPECT_EQ(takeRequests(), "\"m2 \"m1 2");
}

TEST_F(ModuleSelectorsTest, SelectorsTakeTheRoomThatTheirTextsNeed) {
    QtModuleButtonSelector row(Selector::Top);
    addModules(row, 6);
    row.addModule(QString(80, QLatin1Char('w')), 6);
    row.resize(1900, 60);
    showActive(row);
    const auto* longest = row.findChildren<QToolButton*>().last();
    EXPECT_GT(longest->width(), 220);
    EXPECT_TRUE(longest->toolTip().contains("wwww"_s));
    row.resize(1000, 60);
    row.addModule("m7"_s, 7);
    for (const auto* button : row.findChildren<QToolButton*>())
        EXPECT_EQ(button->minimumWidth(), 220);

    QtModuleStepper stepper(Selector::Left);
    auto* label = stepper.findChild<QLabel*>();
    const int without = stepper.sizeHint().width();
    stepper.addModule("A somewhat longer name"_s, 0);
    stepper.moduleActivated("A somewhat longer name"_s, 0);
    const int with = stepper.sizeHint().width();
    EXPECT_GT(with, without);
    show(stepper);
    stepper.resize(with, 300);
    EXPECT_EQ(label->text(), label->accessibleName()) << "not shortened";
    stepper.addModule(QString(80, QLatin1Char('w')), 1);
    EXPECT_EQ(label->minimumWidth(), 220);
    stepper.setTouchScreenMode(true);
    for (const auto* button : stepper.findChildren<QPushButton*>())
        EXPECT_GE(std::min(button->minimumWidth(), button->minimumHeight()), 35);

    for (const auto side : {Selector::Left, Selector::Top}) {
        QtModuleTabSelector tabs(side, true, true, true, true);
        for (int i = 0; i < 9; ++i)
            tabs.addModule("A module with a long name %1"_s.arg(i), i);
        tabs.addModule("Plan"_s, 9);
        tabs.resize(side == Selector::Left ? QSize(60, 600) : QSize(900, 60));
        showActive(tabs);
        for (const bool touch : {false, true}) {
            tabs.setTouchScreenMode(touch);
            const auto* bar = innerBar(tabs);
            for (int tab = 0; tab < bar->count(); ++tab) {
                EXPECT_TRUE(bar->rect().contains(bar->tabRect(tab))) << tab;
                EXPECT_GE(bar->tabRect(tab).width(), touch ? 35 : 20);
                EXPECT_GE(bar->tabRect(tab).height(), touch ? 35 : 20);
            }
            const int text = bar->fontMetrics().horizontalAdvance("Plan"_s);
            const QSize plan = bar->tabRect(9).size();
            EXPECT_GT(side == Selector::Left ? plan.height() : plan.width(), text)
                << "not squeezed";
        }
    }
}

// --- tabs

TEST_F(ModuleSelectorsTest, AToolTabAsksTheWindowAndIsNeverLeftSelected) {
    setting("ExitWithoutRequest", true);
    QSignalSpy answers[] = {{window.get(), &QtAppMainWindow::screenShotRequest},
                            {window.get(), &QtAppMainWindow::configRequest},
                            {window.get(), &QtAppMainWindow::configFileEditorRequest},
                            {window.get(), &QtAppMainWindow::exitApplication}};
    const char* const toolTips[] = {"Create Screenshot", "Application Configuration",
                                    "Launch Application Configuration File Editor",
                                    "Quit Application"};
    // Every set of flags: an absent tool tab must not shift the meaning of the others.
    for (int flags = 0; flags < 16; ++flags) {
        QtModuleTabSelector selector(Selector::Top, flags & 1, flags & 2, flags & 4, flags & 8);
        listenTo(selector);
        addModules(selector, 3);
        show(selector);
        QTabBar* bar = innerBar(selector);
        selector.moduleActivated("m1"_s, 1);
        takeRequests();
        int tab = 3;
        for (int i = 0; i < 4; ++i) {
            if (!(flags & (1 << i)))
                continue;
            EXPECT_EQ(bar->tabToolTip(tab).toStdString(), toolTips[i]);
            EXPECT_EQ(bar->accessibleTabName(tab).toStdString(), toolTips[i]);
            clickTab(bar, tab++);
            for (int each = 0; each < 4; ++each)
                EXPECT_EQ(answers[each].size(), each == i) << flags << ' ' << each;
            answers[i].clear();
            EXPECT_EQ(bar->currentIndex(), 1);
        }
        EXPECT_EQ(bar->count(), tab);
        EXPECT_EQ(takeRequests(), "");
    }
}

TEST_F(ModuleSelectorsTest, TabsWorkByKeyboardWithoutTriggeringToolsInPassing) {
    QtModuleTabSelector selector(Selector::Top, false, false, false, true);
    selector.disconnect(window.get(), nullptr);
    listenTo(selector);
    show(selector);
    QTabBar* bar = innerBar(selector);
    QSignalSpy exit(&selector, &QtModuleTabSelector::exitRequestSGN);
    clickTab(bar, 0);
    EXPECT_EQ(exit.size(), 1) << "before there is a module";
    exit.clear();
    for (int i = 0; i < 2; ++i) // The list may describe itself more than once.
        addModules(selector, 2);
    EXPECT_EQ(bar->count(), 3);
    EXPECT_EQ(bar->currentIndex(), 0);
    EXPECT_EQ(takeRequests(), "");
    bar->setFocus();
    QTest::keyClick(bar, Qt::Key_Right);
    EXPECT_EQ(takeRequests(), "1");
    QTest::keyClick(bar, Qt::Key_Right);
    EXPECT_EQ(exit.size(), 0);
    QTest::keyClick(bar, Qt::Key_Space);
    EXPECT_EQ(exit.size(), 1);
    EXPECT_EQ(bar->currentIndex(), 1);
    // A module that comes while a tool is marked does not hand the mark to another tab.
    selector.addModule("A & B"_s, 2);
    EXPECT_EQ(bar->tabText(2), "A && B"_s);
    QTest::keyClick(bar, Qt::Key_Space);
    EXPECT_EQ(exit.size(), 1);
    QTest::keyClick(bar, Qt::Key_Home);
    clickTab(bar, 2);
    EXPECT_EQ(takeRequests(), "0 2");
}

// --- stepper

TEST_F(ModuleSelectorsTest, TheStepperOffersWhatThereIs) {
    QtModuleStepper stepper(Selector::Bottom);
    listenTo(stepper);
    const auto buttons = stepper.findChildren<QPushButton*>();
    ASSERT_EQ(buttons.size(), 2);
    const auto state = [&] {
        return stepper.findChild<QLabel*>()->accessibleName().toStdString() +
               (buttons[0]->isEnabled() ? " P" : " -") + (buttons[1]->isEnabled() ? "N" : "-");
    };
    EXPECT_EQ(buttons[0]->text(), "Prev"_s);
    EXPECT_EQ(buttons[1]->text(), "Next"_s);
    EXPECT_EQ(state(), "No module selected --");
    addModules(stepper, 3);
    stepper.moduleActivated("m0"_s, 0);
    EXPECT_EQ(state(), "m0 -N");
    buttons[1]->click();
    EXPECT_EQ(takeRequests(), "next");
    stepper.moduleActivated("m2"_s, 2);
    EXPECT_EQ(state(), "m2 P-");
    stepper.addModule("m3"_s, 3);
    EXPECT_EQ(state(), "m2 PN");
    buttons[0]->click();
    EXPECT_EQ(takeRequests(), "previous");
    stepper.moduleDeactivated("m2"_s, 2);
    EXPECT_EQ(state(), "No module selected -N");
}

// --- the selector of an application

TEST_F(AppBaseTest, ASelectorFollowsTheListAndAsksIt) {
    AppBase& application = app();
    application.setModuleSelector(nullptr);
    auto* selector = new RecordingSelector;
    application.setModuleSelector(selector);
    EXPECT_EQ(selector->parentWidget(), application.getMainWindow()->centralWidget());
    for (const char* name : {"a", "b", "c"})
        application.addModule(new RecordingModule(QString::fromLatin1(name)));
    EXPECT_EQ(take(selector->calls), "add a, on a, add b, add c");
    emit selector->activateModule("b"_s);
    EXPECT_EQ(take(selector->calls), "off a, on b");
    emit selector->activateModule(2);
    EXPECT_EQ(take(selector->calls), "off b, on c");
    emit selector->previousModule();
    EXPECT_EQ(take(selector->calls), "off c, on b");
    emit selector->nextModule();
    EXPECT_EQ(take(selector->calls), "off b, on c");
    emit selector->disableModule("a"_s);
    emit selector->disableModule(1);
    emit selector->enableModule("b"_s);
    emit selector->enableModule(0);
    EXPECT_EQ(take(selector->calls), "dis a, dis b, en b, en a");
    emit selector->deactivateAllModules();
    EXPECT_EQ(take(selector->calls), "off a, off b, off c");

    // One that comes late is caught up, and hears everything once even if it is given twice.
    emit selector->disableModule(1);
    auto* late = new RecordingSelector;
    for (int i = 0; i < 2; ++i) {
        application.setModuleSelector(late);
        EXPECT_EQ(take(late->calls), "add a, add b, dis b, add c, on c");
    }
    emit late->activateModule(0);
    EXPECT_EQ(take(late->calls), "off c, on a");
}

TEST_F(AppBaseTest, AModuleMayReplaceTheSelectorThatIsClicked) {
    AppBase& application = app();
    QPointer<QtModuleSelector> selectors[3];
    for (int i = 0; i < 3; ++i) {
        application.addModule(new RecordingModule("m%1"_s.arg(i)));
        if (i == 1)
            selectors[i] =
                new QtModuleTabSelector(QtModuleSelector::Top, false, false, false, false);
        else
            selectors[i] = new QtModuleButtonSelector(QtModuleSelector::Top);
    }
    auto* first = new RecordingModule("A"_s);
    auto* second = new RecordingModule("B"_s);
    first->onActivate = [&] { application.setModuleSelector(selectors[1]); };
    second->onActivate = [&] { application.setModuleSelector(selectors[2]); };
    application.addModule(first);
    application.addModule(second);
    application.setModuleSelector(selectors[0]);
    showActive(*application.getMainWindow());
    QTest::mouseClick(selectors[0]->findChild<QAbstractButton*>("A_3"_s), Qt::LeftButton);
    EXPECT_TRUE(first->isActive());
    EXPECT_FALSE(selectors[0] && selectors[0]->isVisible());
    auto* bar = selectors[1]->findChild<QTabBar*>();
    EXPECT_EQ(bar->currentIndex(), 3);
    QCoreApplication::sendPostedEvents(); // Lays it out.
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(4).center());
    EXPECT_TRUE(second->isActive());
    EXPECT_TRUE(selectors[2]->findChild<QAbstractButton*>("B_4"_s)->isChecked());
    // The former ones neither hear of anything nor ask, and go with the next turn of the loop.
    if (selectors[1])
        emit selectors[1]->activateModule(0);
    EXPECT_TRUE(second->isActive());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(selectors[0] || selectors[1]);
    EXPECT_TRUE(selectors[2]);
    EXPECT_TRUE(application.getMainWindow()->isAncestorOf(selectors[2]));
}

TEST_F(AppBaseTest, NothingNeedsTheWindowOrTheObject) {
    AppBase& application = app();
    Announcements announced(application);
    delete application.getMainWindow();
    EXPECT_EQ(application.getMainWindow(), nullptr);
    application.setApplicationIdentification("x"_s, QIcon(), "x"_s);
    application.activateModule("x"_s);
    application.setTouchScreenModeEnabled(true);
    EXPECT_EQ(announced.take(), "");
    RecordingModule module("late"_s);
    EXPECT_FALSE(application.addModule(&module));
    RecordingSelector selector;
    application.setModuleSelector(&selector);
    const auto setCursors = [] {
        AppBase::setBusyCursor();
        AppBase::resetCursor();
    };
    setCursors();
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);

    endApp();
    EXPECT_EQ(AppBase::instance(), nullptr);
    AppBase::setCurrentPatient(makePatient("1"));
    EXPECT_FALSE(AppBase::getCurrentPatient());
    setCursors();
}
