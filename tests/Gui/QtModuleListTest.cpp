#include "AppBase/QtModuleList.h"
#include "AppBase/QtAppModuleProxy.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"

#include <QtCore/QFile>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QToolButton>

using namespace vlrTest;

namespace {

class QtModuleListTest : public GuiTest {
protected:
    QtModuleListTest() {
        services.window = window.get();
        list = std::make_unique<QtModuleList>(window.get(), nullptr);
        follow("registered", &QtModuleList::registered);
        follow("activated", QOverload<QString, int>::of(&QtModuleList::activated));
        follow("deactivated", &QtModuleList::deactivated);
        follow("enabled", &QtModuleList::enabled);
        follow("disabled", &QtModuleList::disabled);
        QObject::connect(list.get(),
                         QOverload<const QtAppModuleProxy*>::of(&QtModuleList::activated),
                         [this](const QtAppModuleProxy* proxy) {
                             events << QStringLiteral("proxy %1").arg(proxy->module()->name());
                         });
    }

    template <class Signal>
    void follow(const char* what, Signal signal) {
        QObject::connect(list.get(), signal, [this, what](const QString& name, int index) {
            events << QStringLiteral("%1 %2 %3").arg(QLatin1String(what), name).arg(index);
        });
    }

    void addModules(int count) {
        for (int i = 0; i < count; ++i) {
            auto* module = new RecordingModule(QStringLiteral("m%1").arg(i), &calls);
            modules.push_back(module);
            EXPECT_EQ(list->registerModule(module), i);
        }
        events.clear();
        calls.clear();
    }

    QString takeEvents() {
        const QString text = events.join(QStringLiteral(", "));
        events.clear();
        return text;
    }

    int raisedContextWidget() const { return window->findChild<QStackedWidget*>()->currentIndex(); }

    FakeServices services;
    std::unique_ptr<QtAppMainWindow> window =
        std::make_unique<QtAppMainWindow>(nullptr, nullptr, Qt::Window);
    QStringList events;
    QStringList calls;
    std::unique_ptr<QtModuleList> list;
    std::vector<RecordingModule*> modules;
};

} // namespace

TEST_F(QtModuleListTest, TheFirstModuleIsActivatedAtOnceAndLaterOnesChangeNothing) {
    EXPECT_EQ(list->registerModule(nullptr), -1);
    EXPECT_EQ(list->currentIndex(), -1);
    EXPECT_TRUE(list->currentName().isNull());
    EXPECT_EQ(list->currentModuleProxy(), nullptr);
    EXPECT_EQ(takeEvents(), QString());

    auto* first = new RecordingModule(QStringLiteral("m0"));
    EXPECT_EQ(list->registerModule(first), 0);
    EXPECT_EQ(takeEvents(), QStringLiteral("registered m0 0, activated m0 0, proxy m0"));
    EXPECT_EQ(list->registerModule(new RecordingModule(QStringLiteral("m1"))), 1);
    EXPECT_EQ(takeEvents(), QStringLiteral("registered m1 1"));
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(list->currentName(), QStringLiteral("m0"));
    EXPECT_EQ(list->currentModuleProxy()->module(), first);
    EXPECT_EQ(raisedContextWidget(), 1);
}

TEST_F(QtModuleListTest, ActivationDeactivatesTheOldModuleFirst) {
    addModules(3);
    int indexWhenDeactivated = -2;
    QObject::connect(list.get(), &QtModuleList::deactivated,
                     [&] { indexWhenDeactivated = list->currentIndex(); });
    list->activate(2);
    EXPECT_EQ(takeEvents(), QStringLiteral("deactivated m0 0, activated m2 2, proxy m2"));
    EXPECT_EQ(indexWhenDeactivated, 0);
    EXPECT_EQ(calls,
              (QStringList{QStringLiteral("m0 deactivate"), QStringLiteral("m2 getMainWidget"),
                           QStringLiteral("m2 activate")}));
    list->activate(2);
    EXPECT_EQ(takeEvents(), QString());
    list->activate(QStringLiteral("m1"));
    EXPECT_EQ(takeEvents(), QStringLiteral("deactivated m2 2, activated m1 1, proxy m1"));
    EXPECT_EQ(raisedContextWidget(), 2);
}

TEST_F(QtModuleListTest, LeavingTheListDeactivatesEveryModuleButKeepsTheIndex) {
    addModules(2);
    const QString all = QStringLiteral("deactivated m0 0, deactivated m1 1");
    list->previous();
    EXPECT_EQ(takeEvents(), all);
    EXPECT_EQ(list->currentIndex(), 0);
    EXPECT_EQ(raisedContextWidget(), 0);
    // The index did not change, so asking for it again does nothing.
    list->activate(0);
    EXPECT_EQ(takeEvents(), QString());
    EXPECT_FALSE(modules[0]->isActive());

    list->next();
    EXPECT_EQ(takeEvents(), QStringLiteral("deactivated m0 0, activated m1 1, proxy m1"));
    for (int i = 0; i < 2; ++i) {
        list->next();
        EXPECT_EQ(takeEvents(), all);
        EXPECT_EQ(list->currentIndex(), 1);
        EXPECT_EQ(list->currentName(), QStringLiteral("m1"));
    }
    list->activate(QStringLiteral("unknown"));
    EXPECT_EQ(takeEvents(), all);
    list->activate(-7);
    EXPECT_EQ(takeEvents(), all);
    list->deactivateAll();
    EXPECT_EQ(takeEvents(), all);
}

TEST_F(QtModuleListTest, EnablingAsksForACurrentModuleAndMovesNothing) {
    // While the first module is being registered there is one, but no current one yet.
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(list.get(), &QtModuleList::registered, [this, connection] {
        QObject::disconnect(*connection);
        list->disableModule(0);
        list->disableModule(QStringLiteral("m0"));
    });
    addModules(3);
    EXPECT_TRUE(modules[0]->isActive());
    list->disableModule(0);
    EXPECT_EQ(takeEvents(), QStringLiteral("disabled m0 0"));
    EXPECT_TRUE(modules[0]->isActive());
    EXPECT_EQ(list->currentIndex(), 0);
    list->disableModule(QStringLiteral("m2"));
    list->enableModule(QStringLiteral("m2"));
    EXPECT_EQ(takeEvents(), QStringLiteral("disabled m2 2, enabled m2 2"));
    for (const int index : {-1, 3, 1000}) {
        list->enableModule(index);
        list->disableModule(index);
    }
    list->enableModule(QStringLiteral("unknown"));
    EXPECT_EQ(takeEvents(), QString());
}

TEST_F(QtModuleListTest, ADisabledModuleBecomesCurrentWithoutBeingActivated) {
    addModules(2);
    list->disableModule(1);
    events.clear();
    list->activate(1);
    EXPECT_EQ(takeEvents(), QStringLiteral("deactivated m0 0, activated m1 1, proxy m1"));
    EXPECT_EQ(list->currentIndex(), 1);
    EXPECT_FALSE(modules[1]->isActive());
}

TEST_F(QtModuleListTest, ItsStateCanBeReplayed) {
    addModules(3);
    list->disableModule(1);
    list->activate(2);
    events.clear();
    calls.clear();
    list->generateEvents();
    EXPECT_EQ(takeEvents(),
              QStringLiteral("registered m0 0, registered m1 1, disabled m1 1, registered m2 2, "
                             "activated m2 2, proxy m2"));
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(QtModuleListTest, ModulesAskThroughTheirSignals) {
    addModules(3);
    emit modules[0]->activateNextModule();
    EXPECT_EQ(list->currentIndex(), 1);
    emit modules[1]->activatePrevModule();
    EXPECT_EQ(list->currentIndex(), 0);
    emit modules[0]->activateModule(QStringLiteral("m2"));
    EXPECT_EQ(list->currentIndex(), 2);
    takeEvents();
    emit modules[0]->disableModule(QStringLiteral("m1"));
    emit modules[0]->enableModule(QStringLiteral("m1"));
    EXPECT_EQ(takeEvents(), QStringLiteral("disabled m1 1, enabled m1 1"));
    emit modules[0]->deactivateAllModules();
    EXPECT_FALSE(modules[2]->isActive());
    EXPECT_EQ(raisedContextWidget(), 0);
}

TEST_F(QtModuleListTest, AModuleMayAskForAnotherOneWhileItIsActivated) {
    addModules(3);
    modules[1]->onActivate = [this] { emit modules[1]->activateNextModule(); };
    list->next();
    EXPECT_EQ(list->currentIndex(), 2);
    EXPECT_FALSE(modules[1]->isActive());
    EXPECT_TRUE(modules[2]->isActive());
    EXPECT_EQ(raisedContextWidget(), 3);
    EXPECT_EQ(takeEvents(), QStringLiteral("deactivated m0 0, deactivated m1 1, activated m2 2, "
                                           "proxy m2"));
}

TEST_F(QtModuleListTest, ALaterRequestWinsOverTheOneItInterrupts) {
    addModules(3);
    modules[0]->onDeactivate = [this] { list->activate(2); };
    list->activate(1);
    EXPECT_EQ(list->currentIndex(), 2);
    EXPECT_FALSE(modules[0]->isActive());
    EXPECT_FALSE(modules[1]->isActive());
    EXPECT_TRUE(modules[2]->isActive());
    EXPECT_EQ(calls.count(QStringLiteral("m0 deactivate")), 1);
}

TEST_F(QtModuleListTest, ARegistrationWithinARegistrationLeavesTheFirstModuleActive) {
    auto* second = new RecordingModule(QStringLiteral("second"));
    QObject::connect(list.get(), &QtModuleList::registered, list.get(),
                     [this, second](QString, int i) {
                         if (i == 0)
                             list->registerModule(second);
                     });
    auto* first = new RecordingModule(QStringLiteral("first"));
    list->registerModule(first);
    EXPECT_EQ(list->currentIndex(), 0);
    EXPECT_TRUE(first->isActive());
    EXPECT_FALSE(second->isActive());
}

TEST_F(QtModuleListTest, ModulesAskTheWindowForTouchScreenMode) {
    addModules(1);
    auto* quit = window->findChild<QToolButton*>(QStringLiteral("Exit"));
    const QSize mouseSize = quit->iconSize();
    emit modules[0]->controlAreaSize(5); // Must reach a slot; a missing one is warned about.
    emit modules[0]->enableTouchScreenMode(true);
    EXPECT_GT(quit->iconSize().width(), mouseSize.width());
}

TEST_F(QtModuleListTest, TheFirstOfTwoModulesOfANameIsFound) {
    list->registerModule(new RecordingModule(QStringLiteral("start")));
    list->registerModule(new RecordingModule(QStringLiteral("twin")));
    list->registerModule(new RecordingModule(QStringLiteral("twin")));
    list->activate(2);
    list->activate(QStringLiteral("twin"));
    EXPECT_EQ(list->currentIndex(), 1);
    list->activate(QStringLiteral("Twin"));
    EXPECT_EQ(list->currentIndex(), 1);
    EXPECT_EQ(takeEvents().right(17), QStringLiteral(", deactivated twin 2").right(17));
}

TEST_F(QtModuleListTest, ItsEndDeactivatesStoresAndDeletesTheModulesInOrder) {
    addModules(2);
    list->activate(1);
    calls.clear();
    // What a module changes in its last deactivation is stored; what it asks for is not heard.
    modules[1]->onDeactivate = [this] {
        calls << QStringLiteral("list is ") +
                     (list ? QStringLiteral("there") : QStringLiteral("going"));
        modules[1]->setConfiguration(new Configuration);
        emit modules[1]->activatePrevModule();
    };
    modules[0]->setConfiguration(new Configuration);
    events.clear();
    list.reset();
    EXPECT_EQ(calls, (QStringList{QStringLiteral("m0 deleted"), QStringLiteral("m1 deactivate"),
                                  QStringLiteral("list is going"), QStringLiteral("m1 deleted")}));
    EXPECT_TRUE(events.isEmpty());
    for (const char* name : {"m0ModuleConfiguration", "m1ModuleConfiguration"})
        EXPECT_TRUE(QFile::exists(DataIOManager::configurationPath(QString::fromLatin1(name))));
}

TEST_F(QtModuleListTest, AModuleDisabledWhileActiveIsDeactivatedAtTheEnd) {
    addModules(1);
    list->disableModule(0);
    list.reset();
    EXPECT_EQ(calls, (QStringList{QStringLiteral("m0 deactivate"), QStringLiteral("m0 deleted")}));
}

TEST_F(QtModuleListTest, AWindowThatGoesFirstTakesListAndModulesAlongWhileItIsWhole) {
    auto* child = new QtModuleList(window.get(), window.get());
    auto* module = new RecordingModule(QStringLiteral("m"), &calls);
    child->registerModule(module);
    module->onDeactivate = [this, module] {
        EXPECT_TRUE(module->getWidget());
        EXPECT_TRUE(window->centralWidget());
    };
    QPointer<QtModuleList> guard(child);
    delete window.get();
    (void)window.release();
    EXPECT_TRUE(guard.isNull());
    EXPECT_EQ(calls.last(), QStringLiteral("m deleted"));
}

TEST_F(QtModuleListTest, AWindowThatGoesFirstTakesTheModulesAlong) {
    addModules(2);
    window.reset();
    EXPECT_TRUE(calls.contains(QStringLiteral("m1 deleted")));
    list->activate(1);
    list->next();
    list->generateEvents();
    EXPECT_EQ(list->registerModule(nullptr), -1);
    list.reset();
}

// As an application does that ends itself, or an observer that closes its window.
TEST_F(QtModuleListTest, ModulesMayTakeTheWindowAndTheListAwayAtAnyMoment) {
    using Hook = std::function<void()> RecordingModule::*;
    const struct {
        const char* moment;
        int module;
        Hook hook;
        void (QtModuleList::*change)();
    } cases[] = {
        {"registration", 0, &RecordingModule::onActivate, &QtModuleList::next},
        {"main widget", 1, &RecordingModule::onMainWidget, &QtModuleList::next},
        {"activation", 1, &RecordingModule::onActivate, &QtModuleList::next},
        {"deactivation", 0, &RecordingModule::onDeactivate, &QtModuleList::next},
        {"end of all", 0, &RecordingModule::onDeactivate, &QtModuleList::deactivateAll},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.moment);
        const QPointer<QtAppMainWindow> owner = new QtAppMainWindow(nullptr, nullptr, Qt::Window);
        services.window = owner;
        const QPointer<QtModuleList> child = new QtModuleList(owner, owner);
        for (int i = 0; i < 2 && child; ++i) {
            auto* module = new RecordingModule(QStringLiteral("m%1").arg(i));
            if (i == each.module)
                module->*each.hook = [owner] { delete owner.data(); };
            child->registerModule(module);
        }
        if (child)
            (child->*each.change)();
        EXPECT_FALSE(owner);
        EXPECT_FALSE(child);
    }
}

TEST_F(QtModuleListTest, AModuleMayTakeTheWindowAwayWhileTheListGoes) {
    const QPointer<QtAppMainWindow> owner = new QtAppMainWindow(nullptr, nullptr, Qt::Window);
    services.window = owner;
    const QPointer<QtModuleList> child = new QtModuleList(owner, owner);
    auto* module = new RecordingModule(QStringLiteral("m"), &calls);
    module->onDeactivate = [owner] { delete owner.data(); };
    child->registerModule(module);
    delete child.data();
    EXPECT_FALSE(owner);
    EXPECT_EQ(calls.count(QStringLiteral("m deleted")), 1);
}
