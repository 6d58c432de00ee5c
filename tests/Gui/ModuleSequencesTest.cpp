// Random sequences of what may be asked of a module list: by calls, by modules, by whoever is told
// and by clicks, also in the middle of each other. The number of a sequence is its seed;
// VLR_SEQUENCES=10000 runs as many instead of the few of the suite.

#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/SelectorConnections.h"
#include "AppBase/Selectors/QtModuleRadioButtonSelector.h"
#include "AppBase/Selectors/QtModuleStepper.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "Gui/GuiTest.h"

#include <QtCore/QRandomGenerator>

using namespace vlrTest;

namespace {

constexpr int callsPerSequence = 12;
constexpr int redirectsPerCall = 4;
constexpr int kinds = 4;
constexpr std::size_t mostModules = 6;
const char* const names[] = {"A", "B", "C", "B", "unknown"};

struct Known {
    QtAppModuleProxy* proxy;
    bool leftWhileDisabled = false; // Such a module stays active.
    bool isActive() const { return proxy->module()->isActive(); }
};

class Sequence {
public:
    Sequence(quint32 seed, FakeServices& services) : m_random(seed) {
        services.window = &m_window;
        listen(); // before the selectors, and again after them
        for (int kind = 0; kind < kinds; ++kind)
            attach(kind);
        for (auto signal :
             {&QtModuleList::registered, &QtModuleList::deactivated, &QtModuleList::enabled,
              &QtModuleList::disabled, QOverload<QString, int>::of(&QtModuleList::activated)})
            QObject::connect(m_list.get(), signal, [this] { redirect(); });
        QObject::connect(m_list.get(), QOverload<const QtAppModuleProxy*>::of(&List::activated),
                         [this] { redirect(); });
        listen();
        while (m_modules.size() < 3)
            registerModule();
    }

    void run() {
        for (int i = 0; i < callsPerSequence && !testing::Test::HasFailure(); ++i) {
            m_redirects = redirectsPerCall;
            m_isReplay = false;
            act();
            m_redirects = 0;
            check();
        }
    }

private:
    using List = QtModuleList;

    int dice(int sides) { return m_random.bounded(sides); }
    int anyIndex() { return dice(static_cast<int>(m_modules.size()) + 2) - 1; }
    QString anyName() { return QString::fromLatin1(names[dice(std::size(names))]); }

    void redirect() {
        if (m_redirects <= 0 || dice(3) != 0)
            return;
        --m_redirects;
        act();
    }

    void registerModule() {
        const std::size_t number = static_cast<std::size_t>(m_usedNames.size());
        if (number >= mostModules)
            return;
        const QString name = number < 4 ? QString::fromLatin1(names[number]) : anyName();
        if (m_usedNames.contains(name))
            expectLog(LogLevel::Warning, "share the configuration");
        m_usedNames << name;
        auto* module = new RecordingModule(name);
        module->onActivate = module->onDeactivate = module->onMainWidget = [this] { redirect(); };
        // The proxy announces itself by its first activation at the latest, which comes later.
        m_list->registerModule(module);
    }

    void attach(int kind) {
        const auto side = static_cast<QtModuleSelector::Position>(dice(4));
        QtModuleSelector* made = nullptr;
        if (kind == 0)
            made = new QtModuleButtonSelector(side);
        else if (kind == 1)
            made = new QtModuleRadioButtonSelector(side);
        else if (kind == 2)
            made = new QtModuleTabSelector(side, false, false, false, true);
        else
            made = new QtModuleStepper(side);
        if (m_selectors[kind]) { // It may be the one that was clicked.
            vlr::disconnectSelector(m_selectors[kind], m_list.get());
            m_selectors[kind]->deleteLater();
        }
        m_selectors[kind] = made;
        made->setParent(&m_window);
        vlr::connectSelector(made, m_list.get());
        m_list->generateEvents();
    }

    void click() {
        const int kind = dice(kinds);
        if (kind == 2) { // A press on a tab makes it the current one.
            auto* bar = m_selectors[kind]->findChild<QTabBar*>();
            bar->setCurrentIndex(dice(bar->count()));
            return;
        }
        const auto buttons = m_selectors[kind]->findChildren<QAbstractButton*>();
        if (!buttons.isEmpty()) // A new selector hears of the modules one by one.
            buttons[dice(buttons.size())]->click();
    }

    void act() {
        const std::function<void()> acts[] = {
            [&] { m_list->activate(anyIndex()); },
            [&] { m_list->activate(anyName()); },
            [&] { m_list->next(); },
            [&] { m_list->previous(); },
            [&] { m_list->deactivateAll(); },
            [&] { m_list->enableModule(anyIndex()); },
            [&] { m_list->enableModule(anyName()); },
            [&] { m_list->disableModule(anyIndex()); },
            [&] { m_list->disableModule(anyName()); },
            [&] { m_list->generateEvents(); },
            [&] { registerModule(); },
            [&] { attach(dice(kinds)); },
            [&] { emit m_modules[0].proxy->module()->activateNextModule(); },
            [&] { emit m_modules[0].proxy->module()->activateModule(anyName()); },
        };
        const int choice = dice(2 * static_cast<int>(std::size(acts)));
        if (choice < static_cast<int>(std::size(acts)))
            acts[choice]();
        else
            click();
    }

    // --- what is announced

    void listen() {
        const bool isFirst = !m_isListening;
        m_isListening = true;
        QObject::connect(m_list.get(), &List::registered,
                         [this, isFirst](const QString&, int index) {
                             m_isReplay |= index == 0;
                             if (!isFirst)
                                 return;
                             if (index == static_cast<int>(m_modules.size()))
                                 addProxy();
                             else // Again only from the first on: in a replay.
                                 EXPECT_TRUE(index == 0 || index == m_told + 1) << index;
                             m_told = index;
                         });
        QObject::connect(m_list.get(), QOverload<QString, int>::of(&List::activated),
                         [this](const QString& name, int index) {
                             EXPECT_EQ(m_list->currentIndex(), index);
                             EXPECT_EQ(m_list->currentName(), name);
                             expectActive(index);
                         });
        QObject::connect(m_list.get(), QOverload<const QtAppModuleProxy*>::of(&List::activated),
                         [this](const QtAppModuleProxy* proxy) {
                             EXPECT_EQ(m_list->currentModuleProxy(), proxy);
                             expectActive(m_list->currentIndex());
                         });
        QObject::connect(m_list.get(), &List::deactivated, [this](const QString&, int index) {
            Known& module = known(index);
            m_isReplay = false;
            EXPECT_TRUE(!module.isActive() || !module.proxy->isEnabled() ||
                        module.leftWhileDisabled);
            module.leftWhileDisabled = module.isActive();
            if (m_shown == index)
                m_shown = -1;
        });
        QObject::connect(m_list.get(), &List::enabled, [this](const QString&, int index) {
            EXPECT_TRUE(known(index).proxy->isEnabled());
        });
        QObject::connect(m_list.get(), &List::disabled, [this](const QString&, int index) {
            EXPECT_FALSE(known(index).proxy->isEnabled());
        });
    }

    void addProxy() {
        auto* proxy =
            m_window.findChildren<QtAppModuleProxy*>()[static_cast<int>(m_modules.size())];
        const std::size_t number = m_modules.size();
        m_modules.push_back({proxy});
        QObject::connect(proxy, &QtAppModuleProxy::aboutToActivate, [this, number] {
            m_modules[number].leftWhileDisabled = false;
            m_isReplay = false;
            redirect();
        });
    }

    Known& known(int index) { return m_modules.at(static_cast<std::size_t>(index)); }

    void expectActive(int index) {
        Known& module = known(index);
        // A disabled module becomes current without being activated; a replay tells of the current
        // module also when all were left.
        EXPECT_TRUE(module.isActive() || !module.proxy->isEnabled() || m_isReplay ||
                    (m_isInactive && m_shown == index)); // Enabled since.
        m_isInactive = !module.isActive();
        m_shown = index;
    }

    // --- what is shown when all is done

    void check() {
        const int current = m_list->currentIndex();
        EXPECT_TRUE(m_shown == -1 || m_shown == current) << m_shown << ' ' << current;
        EXPECT_TRUE(m_shown == -1 || m_isInactive || known(current).isActive());
        for (int i = 0; i < static_cast<int>(m_modules.size()); ++i)
            EXPECT_TRUE(!known(i).isActive() || i == m_shown || known(i).leftWhileDisabled) << i;
        const int page = m_window.findChild<QStackedWidget*>()->currentIndex();
        EXPECT_TRUE(known(current).leftWhileDisabled || m_shown < 0 || !known(current).isActive() ||
                    page == current + 1);
        for (int kind : {0, 1})
            checkButtons(*m_selectors[kind]);
        const auto* bar = m_selectors[2]->findChild<QTabBar*>();
        EXPECT_EQ(bar->tabToolTip(bar->currentIndex()), m_list->currentName());
        checkStepper(*m_selectors[3]);
    }

    void checkButtons(const QWidget& selector) {
        for (int i = 0; i < static_cast<int>(m_modules.size()); ++i) {
            const QString key = "%1_%2"_s.arg(known(i).proxy->moduleName()).arg(i);
            const auto* button = selector.findChild<QAbstractButton*>(key);
            ASSERT_TRUE(button);
            EXPECT_EQ(button->isChecked(), i == m_shown) << key.toStdString();
            EXPECT_EQ(button->isEnabled(), known(i).proxy->isEnabled()) << key.toStdString();
        }
    }

    void checkStepper(const QWidget& stepper) {
        const auto buttons = stepper.findChildren<QPushButton*>();
        const int last = static_cast<int>(m_modules.size()) - 1;
        EXPECT_EQ(stepper.findChild<QLabel*>()->accessibleName(),
                  m_shown < 0 ? "No module selected"_s : m_list->currentName());
        EXPECT_EQ(buttons[0]->isEnabled(), m_shown > 0);
        EXPECT_EQ(buttons[1]->isEnabled(), m_shown != last);
    }

    QRandomGenerator m_random;
    QtAppMainWindow m_window{nullptr, nullptr, Qt::Window};
    std::unique_ptr<List> m_list = std::make_unique<List>(&m_window, nullptr);
    std::vector<Known> m_modules;
    QStringList m_usedNames;
    QtModuleSelector* m_selectors[kinds] = {};
    int m_shown = -1; // that was announced last and not left since
    bool m_isInactive = false;
    int m_told = -1; // of last
    bool m_isListening = false;
    bool m_isReplay = false; // From the first module told of again until something else happens.
    int m_redirects = 0;
};

struct ModuleSequencesTest : GuiTest {
    FakeServices services;
};

} // namespace

TEST_F(ModuleSequencesTest, WhatIsAnnouncedIsTrueAndEverySelectorShowsWhatTheListHas) {
    setting("ExitWithoutRequest", true);
    expectLog(LogLevel::Warning, "There is no module \"unknown\"");
    const int wanted = qEnvironmentVariableIntValue("VLR_SEQUENCES");
    for (int seed = 0; seed < (wanted > 0 ? wanted : 1000) && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Sequence(static_cast<quint32>(seed), services).run();
    }
}
