#include "AppBase/Icons.h"
#include "AppBase/QtModuleButtonSelector.h"
#include "AppBase/QtModuleRadioButtonSelector.h"
#include "AppBase/QtModuleStepper.h"
#include "AppBase/QtModuleTabSelector.h"
#include "Gui/GuiTest.h"

#include <QtWidgets/QRadioButton>
#include <QtWidgets/QTabBar>

using namespace vlrTest;
using Selector = QtModuleSelector;

namespace {

class ModuleSelectorsTest : public WindowTest {
protected:
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

    static void show(QWidget& widget, const QSize& size = {700, 300}) {
        widget.resize(size);
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

template <class Kind, bool... flags>
QtModuleSelector* make(Selector::Position side) {
    return new Kind(side, flags...);
}

const SelectorKind selectorKinds[] = {
    {"tabs", make<QtModuleTabSelector, true, true, true, true>},
    {"buttons", make<QtModuleButtonSelector, true, true, true, true, true>},
    {"radios", make<QtModuleRadioButtonSelector>},
    {"stepper", make<QtModuleStepper>},
};

void clickTab(QTabBar* bar, int tab) {
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(tab).center());
}

} // namespace

// --- all kinds

TEST_F(ModuleSelectorsTest, ManyModulesAndLongNamesScrollAndTheCurrentOneIsSeen) {
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

TEST_F(ModuleSelectorsTest, ButtonsAreEquallyWide) {
    QtModuleButtonSelector selector(Selector::Top);
    selector.addModule("a"_s, 0);
    selector.addModule("a somewhat longer name"_s, 1);
    show(selector);
    const auto* wide = buttonNamed(selector, "a somewhat longer name_1");
    EXPECT_EQ(buttonNamed(selector, "a_0")->minimumWidth(), wide->minimumWidth());
    EXPECT_GE(wide->minimumWidth(), wide->sizeHint().width());
}

TEST_F(ModuleSelectorsTest, ButtonsWorkByKeyboardAndScrollIntoView) {
    QtModuleButtonSelector selector(Selector::Top);
    listenTo(selector);
    addModules(selector, 200);
    selector.moduleDisabled("m1"_s, 1);
    show(selector);
    selector.setFocus();
    const std::tuple<Qt::Key, Qt::Key, const char*> cases[] = {
        {Qt::Key_Right, Qt::Key_Space, "\"m2"},
        {Qt::Key_Left, Qt::Key_Return, "\"m0"},
        {Qt::Key_End, Qt::Key_Space, "\"m199"}};
    for (const auto& [move, press, request] : cases) {
        QTest::keyClick(&selector, move);
        QTest::keyClick(&selector, press);
        EXPECT_EQ(takeRequests(), request);
    }
    const auto* last = buttonNamed(selector, "m199_199");
    EXPECT_TRUE(selector.rect().contains(last->mapTo(&selector, last->rect().center())));

    QtModuleRadioButtonSelector radios(Selector::Left);
    listenTo(radios);
    addModules(radios, 3);
    show(radios);
    radios.moduleActivated("m0"_s, 0);
    QAbstractButton* radio = buttonNamed(radios, "m0_0");
    ASSERT_TRUE(qobject_cast<QRadioButton*>(radio));
    radio->setFocus();
    QTest::keyClick(radio, Qt::Key_Down);
    EXPECT_EQ(takeRequests(), "\"m1");
}

TEST_F(ModuleSelectorsTest, RequestButtonsReachTheWindow) {
    setting("ExitWithoutRequest", true);
    QtModuleButtonSelector selector(Selector::Top, true, true, true, true, true);
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
    }
    buttonNamed(selector, "Home")->click();
    EXPECT_EQ(takeRequests(), "none");
    EXPECT_EQ(QtModuleButtonSelector(Selector::Top).findChildren<QToolButton*>().size(), 0);
}

// --- tabs

TEST_F(ModuleSelectorsTest, AToolTabAsksTheWindowAndIsNeverLeftSelected) {
    setting("ExitWithoutRequest", true);
    const QtModuleTabSelector early(Selector::Top, true, true, true, true);
    const auto enabledTools = [&] {
        std::string text;
        for (int tab = 0; tab < 4; ++tab)
            text += innerBar(early)->isTabEnabled(tab) ? '+' : '-';
        return text;
    };
    EXPECT_EQ(enabledTools(), "---+") << "what somebody answers";
    QSignalSpy answers[] = {{window.get(), &QtAppMainWindow::screenShotRequest},
                            {window.get(), &QtAppMainWindow::configRequest},
                            {window.get(), &QtAppMainWindow::configFileEditorRequest},
                            {window.get(), &QtAppMainWindow::exitApplication}};
    EXPECT_EQ(enabledTools(), "++++");
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
