#include "AppBase/QtModuleList.h"
#include "AppBase/QtAppModuleProxy.h"
#include "Gui/AppBaseTest.h"

#include <QtCore/QFile>

using namespace vlrTest;

namespace {

struct QtModuleListTest : WindowTest {
    QtModuleListTest() {
        follow("registered", &QtModuleList::registered);
        follow("activated", QOverload<QString, int>::of(&QtModuleList::activated));
        follow("deactivated", &QtModuleList::deactivated);
        follow("enabled", &QtModuleList::enabled);
        follow("disabled", &QtModuleList::disabled);
        QObject::connect(list.get(),
                         QOverload<const QtAppModuleProxy*>::of(&QtModuleList::activated),
                         [this](const QtAppModuleProxy* proxy) {
                             events << "proxy "_s + proxy->module()->name();
                         });
    }

    template <class Signal>
    void follow(const char* what, Signal signal) {
        QObject::connect(list.get(), signal, [this, what](const QString& name, int index) {
            events << "%1 %2 %3"_s.arg(QLatin1String(what), name).arg(index);
        });
    }

    void addModules(int count) {
        for (int i = 0; i < count; ++i) {
            modules.push_back(new RecordingModule("m%1"_s.arg(i), &calls));
            EXPECT_EQ(list->registerModule(modules.back()), i);
        }
        events.clear();
        calls.clear();
    }
    std::string takeEvents() { return take(events); }
    int raisedContextWidget() const { return window->findChild<QStackedWidget*>()->currentIndex(); }

    QStringList events;
    std::unique_ptr<QtModuleList> list = std::make_unique<QtModuleList>(window.get(), nullptr);
    std::vector<RecordingModule*> modules;
};

} // namespace

TEST_F(QtModuleListTest, TheFirstModuleIsActivatedAtOnceAndLaterOnesChangeNothing) {
    EXPECT_EQ(list->registerModule(nullptr), -1);
    EXPECT_EQ(list->currentIndex(), -1);
    EXPECT_TRUE(list->currentName().isNull());
    EXPECT_EQ(list->currentModuleProxy(), nullptr);
    EXPECT_EQ(takeEvents(), "");

    auto* first = new RecordingModule("m0"_s);
    EXPECT_EQ(list->registerModule(first), 0);
    EXPECT_EQ(takeEvents(), "registered m0 0, activated m0 0, proxy m0");
    EXPECT_EQ(list->registerModule(new RecordingModule("m1"_s)), 1);
    EXPECT_EQ(takeEvents(), "registered m1 1");
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(list->currentName(), "m0"_s);
    EXPECT_EQ(list->currentModuleProxy()->module(), first);
    EXPECT_EQ(raisedContextWidget(), 1);
}

TEST_F(QtModuleListTest, ActivationDeactivatesTheOldModuleFirst) {
    addModules(3);
    int indexWhenDeactivated = -2;
    QObject::connect(list.get(), &QtModuleList::deactivated,
                     [&] { indexWhenDeactivated = list->currentIndex(); });
    list->activate(2);
    EXPECT_EQ(takeEvents(), "deactivated m0 0, activated m2 2, proxy m2");
    EXPECT_EQ(indexWhenDeactivated, 0);
    EXPECT_EQ(take(calls), "m0 deactivate, m2 getMainWidget, m2 activate");
    list->activate(2);
    EXPECT_EQ(takeEvents(), "");
    list->activate("m1"_s);
    EXPECT_EQ(takeEvents(), "deactivated m2 2, activated m1 1, proxy m1");
    EXPECT_EQ(raisedContextWidget(), 2);
}

TEST_F(QtModuleListTest, LeavingTheListDeactivatesEveryModuleButKeepsTheIndex) {
    addModules(2);
    const std::string all = "deactivated m0 0, deactivated m1 1";
    list->previous();
    EXPECT_EQ(takeEvents(), all);
    EXPECT_EQ(list->currentIndex(), 0);
    EXPECT_EQ(raisedContextWidget(), 0);
    // The index did not change, so asking for it again does nothing.
    list->activate(0);
    EXPECT_EQ(takeEvents(), "");
    EXPECT_FALSE(modules[0]->isActive());

    list->next();
    EXPECT_EQ(takeEvents(), "deactivated m0 0, activated m1 1, proxy m1");
    expectLog(LogLevel::Warning, "There is no module \"M1\"");
    const std::function<void()> ways[] = {
        [&] { list->next(); }, [&] { list->next(); }, [&] { list->activate("M1"_s); },
        [&] { list->activate(-7); }, [&] { list->deactivateAll(); }};
    for (const auto& leave : ways) {
        leave();
        EXPECT_EQ(takeEvents(), all);
        EXPECT_EQ(list->currentIndex(), 1);
        EXPECT_EQ(list->currentName(), "m1"_s);
    }
}

TEST_F(QtModuleListTest, EnablingAsksForACurrentModuleAndMovesNothing) {
    // While the first module is being registered there is one, but no current one yet.
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(list.get(), &QtModuleList::registered, [this, connection] {
        QObject::disconnect(*connection);
        list->disableModule(0);
        list->disableModule("m0"_s);
    });
    addModules(3);
    EXPECT_TRUE(modules[0]->isActive());
    list->disableModule(0);
    EXPECT_EQ(takeEvents(), "disabled m0 0");
    EXPECT_TRUE(modules[0]->isActive());
    EXPECT_EQ(list->currentIndex(), 0);
    list->disableModule("m2"_s);
    list->enableModule("m2"_s);
    EXPECT_EQ(takeEvents(), "disabled m2 2, enabled m2 2");
    for (const int index : {-1, 3, 1000}) {
        list->enableModule(index);
        list->disableModule(index);
    }
    list->enableModule("unknown"_s);
    EXPECT_EQ(takeEvents(), "");

    // A disabled module becomes current without being activated.
    list->enableModule(0);
    list->disableModule(1);
    list->activate(1);
    EXPECT_EQ(takeEvents(),
              "enabled m0 0, disabled m1 1, deactivated m0 0, activated m1 1, proxy m1");
    EXPECT_EQ(list->currentIndex(), 1);
    EXPECT_FALSE(modules[1]->isActive());
}

TEST_F(QtModuleListTest, ModulesAskThroughTheirSignals) {
    addModules(3);
    emit modules[0]->activateNextModule();
    EXPECT_EQ(list->currentIndex(), 1);
    emit modules[1]->activatePrevModule();
    EXPECT_EQ(list->currentIndex(), 0);
    emit modules[0]->activateModule("m2"_s);
    EXPECT_EQ(list->currentIndex(), 2);
    takeEvents();
    emit modules[0]->disableModule("m1"_s);
    emit modules[0]->enableModule("m1"_s);
    EXPECT_EQ(takeEvents(), "disabled m1 1, enabled m1 1");
    emit modules[0]->deactivateAllModules();
    EXPECT_FALSE(modules[2]->isActive());
    EXPECT_EQ(raisedContextWidget(), 0);

    const auto* quit = window->findChild<QToolButton*>("Exit"_s);
    const QSize mouseSize = quit->iconSize();
    emit modules[0]->controlAreaSize(5); // Must reach a slot; a missing one is warned about.
    emit modules[0]->enableTouchScreenMode(true);
    EXPECT_GT(quit->iconSize().width(), mouseSize.width());
}

TEST_F(QtModuleListTest, ALaterRequestWinsOverTheOneItInterrupts) {
    addModules(3);
    modules[1]->onActivate = [this] { emit modules[1]->activateNextModule(); };
    list->next();
    EXPECT_EQ(list->currentIndex(), 2);
    EXPECT_FALSE(modules[1]->isActive());
    EXPECT_TRUE(modules[2]->isActive());
    EXPECT_EQ(raisedContextWidget(), 3);
    EXPECT_EQ(takeEvents(), "deactivated m0 0, deactivated m1 1, activated m2 2, proxy m2");

    calls.clear();
    modules[2]->onDeactivate = [this] { list->activate(0); };
    list->activate(1);
    EXPECT_EQ(list->currentIndex(), 0);
    EXPECT_TRUE(modules[0]->isActive());
    EXPECT_EQ(take(calls), "m2 deactivate, m0 getMainWidget, m0 activate");
}

TEST_F(QtModuleListTest, AReplayTellsTheStateToThoseWhoCameLate) {
    addModules(3);
    list->disableModule(1);
    list->activate(2);
    events.clear();
    list->generateEvents();
    EXPECT_EQ(takeEvents(), "registered m0 0, registered m1 1, disabled m1 1, registered m2 2, "
                            "activated m2 2, proxy m2");
}

TEST_F(QtModuleListTest, WhatIsAskedForMeanwhileComesWhenAllHaveHeardWhatIsTrue) {
    addModules(4);
    const auto asking = [this](auto signal, int asked, const std::function<void()>& change) {
        list->activate(0);
        events.clear();
        const auto connection = QObject::connect(list.get(), signal, [&](auto, int index) {
            if (index == asked)
                list->activate(2);
        });
        follow("late", QOverload<QString, int>::of(&QtModuleList::activated));
        change();
        QObject::disconnect(connection);
        return takeEvents();
    };
    const auto next = [this] { list->next(); };
    EXPECT_EQ(asking(QOverload<QString, int>::of(&QtModuleList::activated), 1, next),
              "deactivated m0 0, activated m1 1, late m1 1, deactivated m1 1, activated m2 2, "
              "late m2 2, proxy m2");
    EXPECT_EQ(asking(&QtModuleList::deactivated, 0, next).find("m1"), std::string::npos);
    asking(&QtModuleList::deactivated, 1, [this] { list->deactivateAll(); });
    EXPECT_TRUE(modules[2]->isActive());
    EXPECT_EQ(raisedContextWidget(), 3);

    // From a module's deactivate(): it is told of as left once, and when it is.
    for (const bool all : {false, true}) {
        list->activate(0);
        events.clear();
        modules[0]->onDeactivate = [this] {
            list->enableModule(3); // At once, since what follows may be that module.
            EXPECT_TRUE(takeEvents() == "enabled m3 3");
            list->activate(2);
            EXPECT_EQ(takeEvents(), "");
        };
        all ? list->deactivateAll() : list->activate(1);
        modules[0]->onDeactivate = nullptr;
        EXPECT_TRUE(modules[2]->isActive());
        EXPECT_EQ(raisedContextWidget(), 3);
        EXPECT_EQ(events.count("deactivated m0 0"_s), all ? 2 : 1);
    }
    // Left for nothing while it is activated: it is the current one still, so that is told first.
    modules[3]->onActivate = [this] { list->deactivateAll(); };
    events.clear();
    list->activate(3);
    EXPECT_EQ(events.indexOf("activated m3 3"_s), 1);
    EXPECT_FALSE(modules[3]->isActive());
}

TEST_F(QtModuleListTest, ModulesThatGoOnAskingForEachOtherAreStopped) {
    addModules(3);
    modules[1]->onActivate = [this] { list->activate(2); };
    modules[2]->onActivate = [this] { list->activate(1); };
    expectLog(LogLevel::Error, "go on asking for one another; after 1000 requests");
    list->next();
    EXPECT_TRUE(list->currentModuleProxy()->module()->isActive());
    // The next call counts anew, and what is enabled does not count as a module asked for.
    const auto connection =
        QObject::connect(list.get(), &QtModuleList::registered, [this](const QString&, int index) {
            for (int i = 0; i < 1001; ++i)
                list->enableModule(0);
            list->activate(index);
        });
    list->registerModule(new RecordingModule("late"_s));
    EXPECT_EQ(list->currentIndex(), 3);
    QObject::disconnect(connection);
    list->activate(0);
    EXPECT_TRUE(modules[0]->isActive());

    QObject::connect(list.get(), &QtModuleList::enabled, [this] { list->disableModule(0); });
    QObject::connect(list.get(), &QtModuleList::disabled, [this] { list->enableModule(0); });
    expectLog(LogLevel::Error, "go on asking for one another; after 10000 requests");
    list->enableModule(0);
    list->activate(3);
    EXPECT_EQ(list->currentIndex(), 3);
}

TEST_F(QtModuleListTest, TheFirstOfTwoModulesOfANameIsFoundAndTheirCommonConfigurationToldOf) {
    for (const char* warning : {"\"twin\" and \"twin\" share", "\"Plan A\" and \"PlanA\" share"})
        expectLog(LogLevel::Warning, warning);
    for (const char* name : {"start", "twin", "twin", "Plan A", "PlanA"})
        list->registerModule(new RecordingModule(QString::fromLatin1(name)));
    list->activate(2);
    list->activate("twin"_s);
    EXPECT_EQ(list->currentIndex(), 1);
    EXPECT_EQ(logCount(LogLevel::Warning, "share the configuration"), 2);

    takeEvents();
    expectLog(LogLevel::Error, "The module \"twin\" is registered already");
    EXPECT_EQ(list->registerModule(list->currentModuleProxy()->module()), -1);
    EXPECT_EQ(takeEvents(), "");
    EXPECT_EQ(window->findChildren<QtAppModuleProxy*>().size(), 5);
}

// --- the end

TEST_F(QtModuleListTest, ItsEndDeactivatesStoresAndDeletesTheModulesInOrder) {
    addModules(2);
    list->activate(1);
    calls.clear();
    // What a module changes in its last deactivation is stored; what it asks for is not heard.
    modules[1]->onDeactivate = [this] {
        calls << (list ? "list is there"_s : "list is going"_s);
        modules[1]->setConfiguration(new Configuration);
        emit modules[1]->activatePrevModule();
    };
    modules[0]->setConfiguration(new Configuration);
    events.clear();
    list.reset();
    EXPECT_EQ(take(calls), "m0 deleted, m1 deactivate, list is going, m1 deleted");
    EXPECT_EQ(takeEvents(), "");
    for (const QString& name : {"m0ModuleConfiguration"_s, "m1ModuleConfiguration"_s})
        EXPECT_TRUE(QFile::exists(DataIOManager::configurationPath(name)));
}

TEST_F(QtModuleListTest, AWindowThatGoesFirstTakesTheModulesAlongWhileItIsWhole) {
    addModules(1);
    const QPointer<QtModuleList> child = new QtModuleList(window.get(), window.get());
    auto* module = new RecordingModule("child's"_s, &calls);
    child->registerModule(module);
    module->onDeactivate = [this, module] {
        EXPECT_TRUE(module->getWidget());
        EXPECT_TRUE(window->centralWidget());
    };
    delete window.get();
    (void)window.release();
    EXPECT_FALSE(child);
    EXPECT_TRUE(calls.contains("m0 deleted"_s) && calls.contains("child's deleted"_s));
    // A list that the window does not own goes on without it.
    list->activate(1);
    list->next();
    list->generateEvents();
    EXPECT_EQ(list->registerModule(nullptr), -1);
}

// As an application does that ends itself, or an observer that closes its window.
TEST_F(QtModuleListTest, ModulesMayTakeTheWindowAndTheListAwayAtAnyMoment) {
    using Hook = std::function<void()> RecordingModule::*;
    const auto next = [](QtModuleList* each) { each->next(); };
    const std::tuple<const char*, int, Hook, std::function<void(QtModuleList*)>> cases[] = {
        {"registration", 0, &RecordingModule::onActivate, next},
        {"main widget", 1, &RecordingModule::onMainWidget, next},
        {"activation", 1, &RecordingModule::onActivate, next},
        {"deactivation", 0, &RecordingModule::onDeactivate, next},
        {"end of all", 0, &RecordingModule::onDeactivate,
         std::mem_fn(&QtModuleList::deactivateAll)},
        {"end of list", 0, &RecordingModule::onDeactivate, [](auto* each) { delete each; }}};
    for (const auto& [moment, index, hook, change] : cases) {
        SCOPED_TRACE(moment);
        const QPointer<QtAppMainWindow> owner = new QtAppMainWindow(nullptr, nullptr, Qt::Window);
        services.window = owner;
        const QPointer<QtModuleList> child = new QtModuleList(owner, owner);
        for (int i = 0; i < 2 && child; ++i) {
            auto* module = new RecordingModule("m%1"_s.arg(i), &calls);
            if (i == index)
                module->*hook = [owner] { delete owner.data(); };
            child->registerModule(module);
        }
        if (child)
            change(child);
        EXPECT_FALSE(owner);
        EXPECT_FALSE(child);
        EXPECT_EQ(calls.count("m0 deleted"_s), 1);
        calls.clear();
    }
}

TEST_F(AppBaseTest, ModulesAreRegisteredActivatedAndStored) {
    QStringList calls;
    AppBase& application = app(true, true);
    EXPECT_FALSE(application.addModule(nullptr));
    auto* first = new RecordingModule("first"_s, &calls);
    EXPECT_TRUE(application.addModule(first));
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(splash()->message(), "Loading module: first..."_s);
    EXPECT_TRUE(application.addModule(new RecordingModule("second"_s, &calls)));
    QSignalSpy activated(application.getMainWindow(), &QtAppMainWindow::moduleActivated);
    application.activateModule("second"_s);
    EXPECT_EQ(activated.size(), 1);
    EXPECT_FALSE(first->isActive());
    expectLog(LogLevel::Warning, "There is no module \"third\"");
    application.activateModule("third"_s);
    first->setConfiguration(new Configuration);
    EXPECT_EQ(runUntil(), 0);
    const QString file = DataIOManager::configurationPath("firstModuleConfiguration"_s);
    EXPECT_FALSE(QFile::exists(file));
    endApp();
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(calls.contains("second deactivate"_s));
}
