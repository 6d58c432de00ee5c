#include "AppBase/Icons.h"
#include "AppBase/QtModuleButtonSelector.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/QtModuleRadioButtonSelector.h"
#include "AppBase/QtModuleStepper.h"
#include "AppBase/QtModuleTabSelector.h"
#include "AppBase/QtMyTabBar.h"
#include "Gui/GuiTest.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

using namespace vlrTest;
using Selector = QtModuleSelector;

namespace {

class ModuleSelectorsTest : public GuiTest {
protected:
    ModuleSelectorsTest() { services.window = window.get(); }

    // Everything a selector asks for, as text.
    void listenTo(QtModuleSelector& selector) {
        const auto record = [this](const char* what) {
            return [this, what] { requests << QString::fromLatin1(what); };
        };
        QObject::connect(&selector, QOverload<QString>::of(&Selector::activateModule),
                         [this](const QString& name) { requests << QLatin1Char('"') + name; });
        QObject::connect(&selector, QOverload<int>::of(&Selector::activateModule),
                         [this](int index) { requests << QString::number(index); });
        QObject::connect(&selector, &Selector::nextModule, record("next"));
        QObject::connect(&selector, &Selector::previousModule, record("previous"));
        QObject::connect(&selector, &Selector::deactivateAllModules, record("none"));
    }

    std::string take() {
        const QString text = requests.join(QLatin1Char(' '));
        requests.clear();
        return text.toStdString();
    }

    static void show(QWidget& widget, const QSize& size = {700, 300}) {
        widget.resize(size);
        widget.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
        widget.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&widget));
    }

    static void addModules(QtModuleSelector& selector, int count) {
        for (int i = 0; i < count; ++i)
            selector.addModule(QStringLiteral("m%1").arg(i), i);
    }

    FakeServices services;
    std::unique_ptr<QtAppMainWindow> window =
        std::make_unique<QtAppMainWindow>(nullptr, nullptr, Qt::Window);
    QStringList requests;
};

QAbstractButton* buttonNamed(const QWidget& parent, const char* name) {
    return parent.findChild<QAbstractButton*>(QString::fromLatin1(name));
}

QTabBar* innerBar(const QWidget& selector) {
    return selector.findChild<QTabBar*>();
}

// Whether the user sees the whole of what stands for the module.
bool showsModule(const QtModuleSelector& selector, const QString& name, int index) {
    if (const auto* bar = innerBar(selector)) {
        const QRect tab = bar->tabRect(index);
        QRegion seen = bar->visibleRegion();
        for (const auto* scrollButton : bar->findChildren<QToolButton*>())
            if (scrollButton->isVisible())
                seen -= scrollButton->geometry();
        return tab.isValid() && (QRegion(tab) - seen).isEmpty();
    }
    if (const auto* label = selector.findChild<QLabel*>())
        return label->accessibleName() == name && label->isVisible();
    const auto* button =
        selector.findChild<QAbstractButton*>(name + QLatin1Char('_') + QString::number(index));
    return button && (QRegion(button->rect()) - button->visibleRegion()).isEmpty();
}

struct SelectorKind {
    const char* name;
    QtModuleSelector* (*make)(QtModuleSelector::Position);
};

const SelectorKind selectorKinds[] = {
    {"tabs",
     [](Selector::Position side) -> QtModuleSelector* {
         return new QtModuleTabSelector(side, true, true, true, true);
     }},
    {"buttons",
     [](Selector::Position side) -> QtModuleSelector* {
         return new QtModuleButtonSelector(side, true, true, true, true, true);
     }},
    {"radios",
     [](Selector::Position side) -> QtModuleSelector* {
         return new QtModuleRadioButtonSelector(side);
     }},
    {"stepper",
     [](Selector::Position side) -> QtModuleSelector* { return new QtModuleStepper(side); }},
};

void clickTab(QTabBar* bar, int tab) {
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

} // namespace

// --- all kinds

TEST_F(ModuleSelectorsTest, EveryKindStaysInStepWithTheListAndAsksItForModules) {
    QtModuleTabSelector tabs(Selector::Top, true, true, true, true);
    QtModuleButtonSelector buttons(Selector::Left, true, true, true, true, true);
    QtModuleRadioButtonSelector radios(Selector::Right);
    QtModuleStepper stepper(Selector::Bottom);
    const QtModuleSelector::Position positions[] = {tabs.getPosition(), buttons.getPosition(),
                                                    radios.getPosition(), stepper.getPosition()};
    EXPECT_TRUE(std::equal(std::begin(positions), std::end(positions),
                           std::initializer_list<QtModuleSelector::Position>{
                               Selector::Top, Selector::Left, Selector::Right, Selector::Bottom}
                               .begin()));

    QtModuleList list(window.get(), nullptr);
    for (const char* name : {"Planning", "Registration", "Navigation"})
        list.registerModule(new RecordingModule(QString::fromLatin1(name)));
    list.disableModule(1);
    list.activate(2);
    QSignalSpy changes(&list, QOverload<QString, int>::of(&QtModuleList::activated));
    for (QtModuleSelector* selector :
         std::initializer_list<QtModuleSelector*>{&tabs, &buttons, &radios, &stepper}) {
        QObject::connect(&list, &QtModuleList::registered, selector, &Selector::addModule);
        QObject::connect(&list, QOverload<QString, int>::of(&QtModuleList::activated), selector,
                         &Selector::moduleActivated);
        QObject::connect(&list, &QtModuleList::deactivated, selector, &Selector::moduleDeactivated);
        QObject::connect(&list, &QtModuleList::disabled, selector, &Selector::moduleDisabled);
        QObject::connect(&list, &QtModuleList::enabled, selector, &Selector::moduleEnabled);
        QObject::connect(selector, QOverload<int>::of(&Selector::activateModule), &list,
                         QOverload<int>::of(&QtModuleList::activate));
        QObject::connect(selector, QOverload<QString>::of(&Selector::activateModule), &list,
                         QOverload<QString>::of(&QtModuleList::activate));
        QObject::connect(selector, &Selector::previousModule, &list, &QtModuleList::previous);
    }
    // Catching up changes nothing, also when it happens twice.
    list.generateEvents();
    list.generateEvents();
    EXPECT_EQ(list.currentIndex(), 2);
    EXPECT_EQ(changes.size(), 2);

    const auto expectCurrent = [&](int index, const char* name) {
        EXPECT_EQ(innerBar(tabs)->currentIndex(), index);
        const std::string key = std::string(name) + "_" + std::to_string(index);
        EXPECT_TRUE(buttonNamed(buttons, key.c_str())->isChecked()) << key;
        EXPECT_TRUE(buttonNamed(radios, key.c_str())->isChecked()) << key;
        EXPECT_EQ(stepper.findChild<QLabel*>()->text().toStdString(), name);
    };
    expectCurrent(2, "Navigation");
    EXPECT_FALSE(buttonNamed(buttons, "Registration_1")->isEnabled());
    clickTab(innerBar(tabs), 0);
    expectCurrent(0, "Planning");
    buttonNamed(buttons, "Navigation_2")->click();
    expectCurrent(2, "Navigation");
    buttonNamed(radios, "Planning_0")->click();
    expectCurrent(0, "Planning");
    list.enableModule(1);
    EXPECT_TRUE(buttonNamed(radios, "Registration_1")->isEnabled());
    list.activate(2);
    stepper.findChildren<QPushButton*>().first()->click();
    expectCurrent(1, "Registration");
    list.deactivateAll();
    EXPECT_FALSE(buttonNamed(buttons, "Registration_1")->isChecked());
    EXPECT_FALSE(buttonNamed(radios, "Registration_1")->isChecked());
}

TEST_F(ModuleSelectorsTest, LongNamesAndManyModulesDoNotPushTheWindowWider) {
    const QString longName = QString(300, QLatin1Char('W'));
    const auto check = [&](QtModuleSelector* made, bool vertical) {
        const std::unique_ptr<QtModuleSelector> selector(made);
        for (int i = 0; i < 200; ++i)
            selector->addModule(i % 2 ? QStringLiteral("m%1").arg(i) : longName, i);
        selector->moduleActivated(longName, 198);
        const QSize size = selector->minimumSizeHint();
        EXPECT_LT(vertical ? size.height() : size.width(), 500) << made->metaObject()->className();
        EXPECT_LT(vertical ? size.width() : size.height(), 320) << made->metaObject()->className();
    };
    for (const Selector::Position side : {Selector::Left, Selector::Top}) {
        const bool vertical = side == Selector::Left;
        check(new QtModuleTabSelector(side, true, true, true, true), vertical);
        check(new QtModuleButtonSelector(side, true, true, true, true, true), vertical);
        check(new QtModuleRadioButtonSelector(side), vertical);
        check(new QtModuleStepper(side), vertical);
    }
}

TEST_F(ModuleSelectorsTest, ManyModulesInAShownWindowScrollAndTheCurrentOneIsSeen) {
    const auto name = [](int i) {
        return QString::number(i) + QString(i % 2 ? 300 : 2, QLatin1Char('W'));
    };
    for (const Selector::Position side :
         {Selector::Left, Selector::Right, Selector::Top, Selector::Bottom})
        for (const SelectorKind& kind : selectorKinds) {
            SCOPED_TRACE(std::string(kind.name) + " at " + std::to_string(side));
            QtAppMainWindow shown(nullptr, nullptr, Qt::Window);
            auto* const selector = kind.make(side);
            shown.setModuleSelector(selector);
            show(shown, {900, 700});
            for (int i = 0; i < 200; ++i)
                selector->addModule(name(i), i);
            QCoreApplication::processEvents();
            for (const int current : {150, 151, 0, 199, 75}) {
                selector->moduleActivated(name(current), current);
                EXPECT_TRUE(QTest::qWaitFor(
                    [&] { return showsModule(*selector, name(current), current); }, 1000))
                    << current;
            }
            EXPECT_EQ(shown.size(), QSize(900, 700));
            const QSize demanded = selector->minimumSizeHint();
            EXPECT_LE(demanded.width(), selector->width());
            EXPECT_LE(demanded.height(), selector->height());
        }
}

TEST_F(ModuleSelectorsTest, OfALongNameTheBeginningIsShown) {
    const auto picture = [](const SelectorKind& kind, const QString& name) {
        const std::unique_ptr<QtModuleSelector> selector(kind.make(Selector::Top));
        selector->addModule(name, 0);
        selector->moduleActivated(name, 0);
        show(*selector);
        return selector->grab().toImage();
    };
    const QString filling(300, QLatin1Char('W'));
    for (const SelectorKind& kind : selectorKinds) {
        SCOPED_TRACE(kind.name);
        EXPECT_NE(picture(kind, QLatin1Char('a') + filling),
                  picture(kind, QLatin1Char('b') + filling));
        EXPECT_EQ(picture(kind, filling + QLatin1Char('a')),
                  picture(kind, filling + QLatin1Char('b')));
    }
}

// --- buttons

TEST_F(ModuleSelectorsTest, AButtonIsKnownByNameAndIndexAndSendsItsText) {
    QtModuleButtonSelector selector(Selector::Top);
    listenTo(selector);
    const QString name = QStringLiteral("A & B");
    selector.addModule(name, 0);
    selector.addModule(name, 1);
    auto* first = selector.findChild<QToolButton*>(name + QStringLiteral("_0"));
    auto* second = selector.findChild<QToolButton*>(name + QStringLiteral("_1"));
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->focusPolicy(), Qt::NoFocus);
    EXPECT_TRUE(first->isCheckable());
    second->click();
    EXPECT_EQ(take(), "\"A & B");
    // The last button of an exclusive group is not unchecked by a click; nothing new is asked.
    selector.moduleActivated(name, 0);
    EXPECT_TRUE(first->isChecked());
    EXPECT_EQ(take(), "");
    selector.moduleDisabled(name, 1);
    EXPECT_FALSE(second->isEnabled());
    second->hide();
    selector.moduleEnabled(name, 1);
    EXPECT_TRUE(second->isEnabled());
    EXPECT_FALSE(second->isHidden());
    selector.moduleActivated(QStringLiteral("unknown"), 7);
    EXPECT_TRUE(first->isChecked());
}

TEST_F(ModuleSelectorsTest, ButtonsAreEquallyWide) {
    QtModuleButtonSelector selector(Selector::Top);
    selector.addModule(QStringLiteral("a"), 0);
    selector.addModule(QStringLiteral("a somewhat longer name"), 1);
    show(selector);
    const auto* narrow = buttonNamed(selector, "a_0");
    const auto* wide = buttonNamed(selector, "a somewhat longer name_1");
    EXPECT_EQ(narrow->minimumWidth(), wide->minimumWidth());
    EXPECT_GE(narrow->minimumWidth(), wide->sizeHint().width());
}

TEST_F(ModuleSelectorsTest, ButtonsAddedToAShownSelectorAreSeen) {
    QWidget area;
    auto* layout = new QVBoxLayout(&area);
    QtModuleSelector* selectors[] = {new QtModuleButtonSelector(Selector::Top),
                                     new QtModuleRadioButtonSelector(Selector::Top)};
    for (QtModuleSelector* selector : selectors)
        layout->addWidget(selector);
    show(area);
    for (QtModuleSelector* selector : selectors) {
        addModules(*selector, 2);
        const auto* button = buttonNamed(*selector, "m1_1");
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return button->visibleRegion().boundingRect() == button->rect(); }, 5000))
            << selector->metaObject()->className();
    }
}

TEST_F(ModuleSelectorsTest, ButtonsWorkByKeyboardAndScrollIntoView) {
    QtModuleButtonSelector selector(Selector::Top);
    listenTo(selector);
    addModules(selector, 200);
    selector.moduleDisabled(QStringLiteral("m1"), 1);
    show(selector);
    selector.setFocus();
    QTest::keyClick(&selector, Qt::Key_Right);
    QTest::keyClick(&selector, Qt::Key_Space);
    EXPECT_EQ(take(), "\"m2");
    QTest::keyClick(&selector, Qt::Key_Left);
    QTest::keyClick(&selector, Qt::Key_Return);
    EXPECT_EQ(take(), "\"m0");
    QTest::keyClick(&selector, Qt::Key_End);
    QTest::keyClick(&selector, Qt::Key_Space);
    EXPECT_EQ(take(), "\"m199");
    const auto* last = buttonNamed(selector, "m199_199");
    EXPECT_TRUE(selector.rect().contains(last->mapTo(&selector, last->rect().center())));

    QtModuleRadioButtonSelector radios(Selector::Left);
    listenTo(radios);
    addModules(radios, 3);
    show(radios);
    radios.moduleActivated(QStringLiteral("m0"), 0);
    QAbstractButton* radio = buttonNamed(radios, "m0_0");
    ASSERT_TRUE(qobject_cast<QRadioButton*>(radio));
    radio->setFocus();
    QTest::keyClick(radio, Qt::Key_Down);
    EXPECT_EQ(take(), "\"m1");
}

TEST_F(ModuleSelectorsTest, RequestButtonsReachTheWindow) {
    QSignalSpy screenshot(window.get(), &QtAppMainWindow::screenShotRequest);
    QSignalSpy config(window.get(), &QtAppMainWindow::configRequest);
    QtModuleButtonSelector selector(Selector::Top, true, true, true, true, true);
    listenTo(selector);
    EXPECT_FALSE(buttonNamed(selector, "ConfigureFileEditor")->isEnabled());
    QSignalSpy editor(window.get(), &QtAppMainWindow::configFileEditorRequest);
    EXPECT_TRUE(buttonNamed(selector, "ConfigureFileEditor")->isEnabled());
    for (const char* name : {"Screenshot", "Configure", "ConfigureFileEditor", "Home"})
        buttonNamed(selector, name)->click();
    EXPECT_EQ(screenshot.size(), 1);
    EXPECT_EQ(config.size(), 1);
    EXPECT_EQ(editor.size(), 1);
    EXPECT_EQ(take(), "none");
    bool asked = false;
    answerNextMessageBox([&](QMessageBox& box) {
        asked = true;
        box.reject();
    });
    buttonNamed(selector, "Exit")->click();
    EXPECT_TRUE(asked);
    EXPECT_EQ(QtModuleButtonSelector(Selector::Top).findChildren<QToolButton*>().size(), 0);
}

// --- tabs

TEST_F(ModuleSelectorsTest, AToolTabRequestsAndIsNeverLeftSelected) {
    const struct {
        const char* toolTip;
        void (QtModuleTabSelector::*request)();
    } tools[] = {
        {"Create Screenshot", &QtModuleTabSelector::screenShotRequestSGN},
        {"Application Configuration", &QtModuleTabSelector::configRequestSGN},
        {"Launch Application Configuration File Editor",
         &QtModuleTabSelector::configFileEditorRequestSGN},
        {"Quit Application", &QtModuleTabSelector::exitRequestSGN},
    };
    QSignalSpy answered[] = {{window.get(), &QtAppMainWindow::screenShotRequest},
                             {window.get(), &QtAppMainWindow::configRequest},
                             {window.get(), &QtAppMainWindow::configFileEditorRequest}};
    // Every set of flags: an absent tool tab must not shift the meaning of the others.
    for (int flags = 0; flags < 16; ++flags) {
        QtModuleTabSelector selector(Selector::Top, flags & 1, flags & 2, flags & 4, flags & 8);
        selector.disconnect(window.get(), nullptr);
        listenTo(selector);
        addModules(selector, 3);
        show(selector);
        QTabBar* bar = innerBar(selector);
        selector.moduleActivated(QStringLiteral("m1"), 1);
        take();
        int tab = 3;
        for (int i = 0; i < 4; ++i) {
            if (!(flags & (1 << i)))
                continue;
            QSignalSpy requested(&selector, tools[i].request);
            EXPECT_EQ(bar->tabToolTip(tab).toStdString(), tools[i].toolTip);
            EXPECT_EQ(bar->accessibleTabName(tab).toStdString(), tools[i].toolTip);
            EXPECT_TRUE(bar->isTabEnabled(tab));
            clickTab(bar, tab++);
            EXPECT_EQ(requested.size(), 1) << flags << ' ' << i;
            EXPECT_EQ(bar->currentIndex(), 1);
        }
        EXPECT_EQ(bar->count(), tab);
        EXPECT_EQ(take(), "");
    }
    for (const QSignalSpy& spy : answered)
        EXPECT_EQ(spy.size(), 0);
}

TEST_F(ModuleSelectorsTest, TheIconsOfToolTabsAreMovedDownAndGreyWhereDisabled) {
    const char* const names[] = {"Screenshot", "Configure", "ConfigureFileEditor", "Exit"};
    const QtModuleTabSelector selector(Selector::Top, true, true, true, true);
    const QTabBar* bar = innerBar(selector);
    const QSize size = bar->iconSize();
    const auto picture = [&size](const QIcon& icon, QIcon::Mode mode) {
        return icon.pixmap(size, mode).toImage().convertToFormat(QImage::Format_ARGB32);
    };
    for (int tab = 0; tab < 4; ++tab) {
        SCOPED_TRACE(names[tab]);
        const QIcon plain = vlr::icon(QString::fromLatin1(names[tab]));
        const QIcon moved = bar->tabIcon(tab);
        for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled}) {
            const QImage expected = picture(plain, mode).copy(QRect(QPoint(0, -1), size));
            EXPECT_EQ(picture(moved, mode), expected) << mode;
        }
        EXPECT_NE(picture(moved, QIcon::Normal), picture(moved, QIcon::Disabled));
    }
}

TEST_F(ModuleSelectorsTest, ToolTabsAreConnectedToTheWindow) {
    QSignalSpy config(window.get(), &QtAppMainWindow::configRequest);
    QtModuleTabSelector selector(Selector::Top, true, true, false, true);
    addModules(selector, 1);
    show(selector);
    QTabBar* bar = innerBar(selector);
    EXPECT_FALSE(bar->isTabEnabled(1)); // Nobody would take a screenshot.
    clickTab(bar, 2);
    EXPECT_EQ(config.size(), 1);
    bool asked = false;
    answerNextMessageBox([&](QMessageBox& box) {
        asked = true;
        box.reject();
    });
    clickTab(bar, 3);
    EXPECT_TRUE(asked);
}

TEST_F(ModuleSelectorsTest, TabsWorkByKeyboardWithoutTriggeringToolsInPassing) {
    QtModuleTabSelector selector(Selector::Top, false, false, false, true);
    selector.disconnect(window.get(), nullptr);
    listenTo(selector);
    addModules(selector, 2);
    show(selector);
    QTabBar* bar = innerBar(selector);
    QSignalSpy exit(&selector, &QtModuleTabSelector::exitRequestSGN);
    bar->setFocus();
    QTest::keyClick(bar, Qt::Key_Right);
    EXPECT_EQ(take(), "1");
    QTest::keyClick(bar, Qt::Key_Right);
    EXPECT_EQ(exit.size(), 0);
    QTest::keyClick(bar, Qt::Key_Space);
    EXPECT_EQ(exit.size(), 1);
    EXPECT_EQ(bar->currentIndex(), 1);
    // A module that comes while a tool is marked does not hand the mark to another tab.
    selector.addModule(QStringLiteral("m2"), 2);
    QTest::keyClick(bar, Qt::Key_Space);
    EXPECT_EQ(exit.size(), 1);
    QTest::keyClick(bar, Qt::Key_Home);
    EXPECT_EQ(take(), "0");
}

TEST_F(ModuleSelectorsTest, AToolTabWorksBeforeThereIsAModule) {
    QtModuleTabSelector selector(Selector::Top, false, false, false, true);
    selector.disconnect(window.get(), nullptr);
    show(selector);
    QSignalSpy exit(&selector, &QtModuleTabSelector::exitRequestSGN);
    clickTab(innerBar(selector), 0);
    EXPECT_EQ(exit.size(), 1);
    listenTo(selector);
    addModules(selector, 2);
    EXPECT_EQ(innerBar(selector)->currentIndex(), 0);
    EXPECT_EQ(take(), "");
}

TEST_F(ModuleSelectorsTest, TheTabBarCountsModuleTabsAndToolTabsApart) {
    QtMyTabBar bar;
    EXPECT_EQ(bar.currentIndex(), -1);
    EXPECT_EQ(bar.addToolButton(QIcon(), QString(), QStringLiteral("x")), 0);
    EXPECT_EQ(bar.addTab(QStringLiteral("a")), 0);
    EXPECT_EQ(bar.addTab(QStringLiteral("b & c")), 1);
    EXPECT_EQ(bar.addToolButton(QIcon(), QString(), QStringLiteral("y")), 1);
    EXPECT_EQ(bar.count(), 2);
    QSignalSpy changed(&bar, &QtMyTabBar::currentChangedSGN);
    QSignalSpy tool(&bar, &QtMyTabBar::toolButtonClickedSGN);
    bar.setCurrentIndex(1);
    bar.setCurrentIndex(2);
    EXPECT_EQ(bar.currentIndex(), 1);
    EXPECT_EQ(changed.size(), 1);
    bar.currentChangedSL(3);
    EXPECT_EQ(tool.size(), 1);
    EXPECT_EQ(tool.last().first().toInt(), 1);
    EXPECT_EQ(bar.currentIndex(), 1);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(innerBar(bar)->tabText(1), QStringLiteral("b && c"));
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
    EXPECT_EQ(buttons[0]->text(), QStringLiteral("Prev"));
    EXPECT_EQ(buttons[1]->text(), QStringLiteral("Next"));
    EXPECT_EQ(state(), "No module selected --");
    addModules(stepper, 3);
    stepper.moduleActivated(QStringLiteral("m0"), 0);
    EXPECT_EQ(state(), "m0 -N");
    buttons[1]->click();
    EXPECT_EQ(take(), "next");
    stepper.moduleActivated(QStringLiteral("m2"), 2);
    EXPECT_EQ(state(), "m2 P-");
    stepper.addModule(QStringLiteral("m3"), 3);
    EXPECT_EQ(state(), "m2 PN");
    buttons[0]->click();
    EXPECT_EQ(take(), "previous");
    stepper.moduleDeactivated(QStringLiteral("m2"), 2);
    EXPECT_EQ(state(), "No module selected -N");
}
