// Objects that are destroyed behind the library's back, in random schedules. The number of a
// schedule is its seed.

#include "Faults.h"

#include "Desk.h"
#include "QuietLog.h"

#include "AppBase/CurrentItems.h"
#include "AppBase/Dialogs/QtAboutDialog.h"
#include "AppBase/Dialogs/QtConfigDialog.h"
#include "AppBase/MainWindowServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/Selectors/QtModuleButtonSelector.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtMsgBox.h"
#include "Base/QtQuadView.h"
#include "Tools/SurgicalToolBox.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QRandomGenerator>
#include <QtWidgets/QProgressDialog>

#include <memory>
#include <set>

namespace {

constexpr int stepsPerSchedule = 40;
constexpr int mostNesting = 3;
constexpr int mostObjects = 4; // of a kind

class World;
World* world = nullptr; // of the schedule that runs
void disturb();
constexpr auto disturbed = [](auto&&...) { disturb(); };

struct TestControl : vlr::Control {
    explicit TestControl(const std::string& name) : Control(name) {}
    ~TestControl() override {
        if (widget && !widget->parent())
            delete widget.data();
    }
    bool isValid() override { return true; }
    QString title() override { return QString::fromStdString(getName()); }
    void release() override {
        if (widget)
            widget->setParent(nullptr);
        onRelease();
    }
    QPointer<QWidget> widget = new QWidget;
    std::function<void()> onRelease = &disturb;
};

struct Observer {
    CaConnection connection;
};

// What an application has, all of which may go at any time. The pointers notice it.
class World : public vlr::MainWindowServices {
public:
    explicit World(quint32 seed) : m_random(seed) {
        world = this;
        makeWindow();
    }
    ~World() override;

    QtAppMainWindow* getMainWindow() const override { return window; }
    DataPointer<Patient> currentPatient() const override { return items.patient(); }
    void setBusyCursor() override {}
    void resetCursor() override {}

    int dice(int sides) { return m_random.bounded(sides); }
    void act(); // any operation

    void makeWindow() {
        window = new QtAppMainWindow(DataPointer<MainWindowConfig>(new MainWindowConfig), nullptr,
                                     Qt::Window);
        list = new QtModuleList(window, dice(2) ? window.data() : nullptr);
    }
    // One of those that are left, or nothing.
    template <class All>
    auto any(All&& all) -> decltype(&*all.front()) {
        all.erase(std::remove(all.begin(), all.end(), nullptr), all.end());
        return all.empty() ? nullptr : &*all[static_cast<std::size_t>(dice(int(all.size())))];
    }
    TestControl* control() { return any(controls); }
    vlr::ControlList* panes() { return vlr::ControlList::instance(); }
    SurgicalTool* tool() { return box ? any(box->getTools()) : nullptr; }
    // Nobody may destroy what is being destroyed.
    void destroy(QObject* object) {
        if (!object || !m_going.insert(object).second)
            return;
        QObject* const child = list && list->parent() == object ? list.data() : nullptr;
        m_going.insert(child);
        delete object;
        m_going.erase(object);
        m_going.erase(child);
    }
    template <class T>
    void destroyAll(std::vector<QPointer<T>> all) {
        for (const QPointer<T>& each : all)
            destroy(each);
    }
    // While the dialog that comes is open, something happens, and it is left.
    void inDialog(const std::function<void()>& open);

    QPointer<QtAppMainWindow> window;
    QPointer<QtModuleList> list;
    std::vector<QPointer<QtAppModule>> modules;
    std::vector<QPointer<TestControl>> controls;
    std::vector<QPointer<QWidget>> panesContents; // of all controls that there were
    std::unique_ptr<SurgicalToolBox> box;
    QPointer<QtDRBVisibilityBox> group = new QtDRBVisibilityBox(nullptr);
    std::vector<QPointer<QtRigidVisibilityWidget>> widgets;
    CurrentItems items{[](CurrentItems::Item) { disturb(); }};
    std::vector<std::unique_ptr<CaSubject>> subjects;
    std::vector<std::unique_ptr<Observer>> observers;
    std::vector<CaConnection> own;

private:
    QRandomGenerator m_random;
    int m_nesting = 0;
    std::set<QObject*> m_going;
};

void disturb() {
    if (world && world->dice(3) == 0)
        world->act();
}

void World::inDialog(const std::function<void()>& open) {
    QTimer::singleShot(0, qApp, [] {
        disturb();
        const auto dialog = modalDialog();
        if (world && dialog && world->dice(3) == 0)
            world->destroy(dialog->parentWidget());
        if (world && dialog && world->dice(2))
            dialog->accept();
    });
    // Whatever is open then is closed at last.
    const EveryTurn closer([] {
        if (const auto dialog = modalDialog())
            dialog->reject();
    });
    open();
}

void pollWidgets(World& w) {
    std::vector<QPointer<QtRigidVisibilityWidget>> all = w.widgets;
    if (w.group)
        for (auto* each : w.group->findChildren<QtRigidVisibilityWidget*>())
            all.emplace_back(each);
    for (const auto& widget : all)
        if (widget)
            QMetaObject::invokeMethod(widget, "update");
    if (w.group)
        QMetaObject::invokeMethod(w.group, "updateSL");
}

void addWidget(World& w) {
    auto* const widget = new QtRigidVisibilityWidget(w.tool(), nullptr);
    w.widgets.emplace_back(widget);
    QObject::connect(widget, &QtRigidVisibilityWidget::rigidVisibleSIG, widget, disturbed);
    if (w.group)
        QObject::connect(w.group, &QtDRBVisibilityBox::allRigidsVisible, widget, disturbed);
}

void addTool(World& w) {
    static int number = 0;
    if (!w.box)
        w.box = std::make_unique<SurgicalToolBox>();
    SurgicalTool* const tool =
        w.box->addTool({"Tool " + std::to_string(++number), {{0, 0, 0}, {50, 0, 0}, {0, 40, 0}}});
    w.own.emplace_back(*tool, SurgicalTool::UNPLUGGED, disturbed);
    if (w.group && w.box)
        (void)w.group->addRigid(tool);
}

void observe(World& w) {
    CaSubject* const subject = w.any(w.subjects);
    if (!subject)
        return;
    const auto& observer = w.observers.emplace_back(std::make_unique<Observer>());
    observer->connection = CaConnection(*subject, "event", disturbed);
    subject->attach("event", observer.get(), disturbed);
}

// One of them, which is gone from the list before it goes itself.
template <class T>
std::unique_ptr<T> take(World& w, std::vector<std::unique_ptr<T>>& all) {
    if (all.empty())
        return nullptr;
    std::swap(all[static_cast<std::size_t>(w.dice(int(all.size())))], all.back());
    std::unique_ptr<T> one = std::move(all.back());
    all.pop_back();
    return one;
}

// An observer detaches before it goes, as its contract says.
void dropObserver(World& w) {
    const auto gone = take(w, w.observers);
    for (const auto& subject : w.subjects)
        subject->detach(gone.get());
}

void makePatientCurrent(World& w) {
    const DataPointer<Patient> patient(new Patient);
    (void)patient->addChild(DataPointer<Data>(new Study), false);
    w.items.setPatient(patient);
}

void work(World& w) {
    CaProgressMonitor::getInstance()->setMinimumDuration(0);
    CaProgressMonitor::getInstance()->start("Working ", w.dice(20), true, true, 1);
    for (int i = 0; i < 10; ++i) {
        QTimer::singleShot(0, qApp, &disturb);
        CaProgressMonitor::getInstance()->tick();
    }
    if (w.dice(2))
        CaProgressMonitor::getInstance()->end();
}

void cancelWork(World&) {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* dialog = qobject_cast<QProgressDialog*>(widget))
            return dialog->cancel();
}

void place(World& w) {
    TestControl* const control = w.control();
    if (!control || !control->widget)
        return;
    const int position = w.dice(6);
    if (position < 5)
        (void)w.panes()->occupyResource(vlr::ControlList::ResourcePosition(position), control,
                                        control->widget, 0.5F, 0.5F);
    else // over all
        (void)w.panes()->occupyResource(control, control->widget);
}

void addControl(World& w) {
    static int number = 0;
    auto* control = new TestControl("Control " + std::to_string(++number));
    w.panesContents.emplace_back(control->widget);
    w.controls.emplace_back(control);
    (void)w.panes()->addControl(control);
}

void addSelector(World& w) {
    if (!w.window || !w.list)
        return;
    auto* selector = new QtModuleButtonSelector(QtModuleSelector::Left, true, true, true, true);
    QObject::connect(w.list, QOverload<QString, int>::of(&QtModuleList::registered), selector,
                     &QtModuleSelector::addModule);
    QObject::connect(w.list, QOverload<QString, int>::of(&QtModuleList::activated), selector,
                     &QtModuleSelector::moduleActivated);
    w.window->setModuleSelector(selector);
    w.list->generateEvents();
}

void editPatient(World& w) {
    DataFactory::DialogOptions options;
    options.parent = w.window;
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("1"));
    options.store = [] {
        disturb();
        return world && world->dice(2) ? CaError::nullError : CaError("Fault", "Not stored.");
    };
    w.inDialog(
        [&] { (void)DataFactory::displayConfigurationDialog(patient.get(), nullptr, options); });
}

using Operation = void (*)(World&);

// clang-format off
constexpr Operation operations[] = {
    [](World& w) {
        if (w.list && w.modules.size() < mostObjects) {
            auto* const module = new DeskModule(QStringLiteral("Module %1").arg(w.dice(100)));
            module->onSwitch = &disturb;
            w.modules.emplace_back(module);
            w.list->registerModule(module);
        }
    },
    [](World& w) { if (w.list) w.list->activate(w.dice(mostObjects + 2) - 1); },
    [](World& w) { if (w.list) w.list->next(); },
    [](World& w) { if (w.list) w.list->previous(); },
    [](World& w) { if (w.list) w.list->deactivateAll(); },
    [](World& w) { if (w.list) w.list->disableModule(w.dice(mostObjects)); },
    [](World& w) { if (w.list) w.list->enableModule(w.dice(mostObjects)); },
    [](World& w) { w.destroy(w.any(w.modules)); },
    [](World& w) { if (auto* m = w.any(w.modules)) delete m->getMainWidget(); },
    [](World& w) { if (auto* m = w.any(w.modules)) delete m->getWidget(); },
    [](World& w) { if (auto* m = w.any(w.modules)) m->setConfiguration(new Patient); },
    [](World& w) { if (w.dice(10) == 0) { w.destroy(w.window); w.destroy(w.list); w.makeWindow(); } },
    [](World& w) { if (w.dice(10) == 0) { w.destroy(w.list); w.destroy(w.window); w.makeWindow(); } },
    [](World& w) { if (w.window) w.window->occupyWindow(w.panes()); },
    [](World& w) { if (w.window) w.window->setTouchScreenMode(w.dice(2) == 0); },
    [](World& w) { if (w.window) w.window->setVisible(w.dice(2) == 0); },
    &addSelector,
    &addControl,
    &place,
    [](World& w) { w.panes()->freeResource(w.dice(5)); },
    [](World& w) { if (auto* c = w.control()) (void)w.panes()->showControl(c->title()); },
    [](World& w) { if (auto* c = w.control()) (void)w.panes()->hideControl(c->title()); },
    [](World& w) { if (auto* c = w.control()) w.panes()->removeControl(c); },
    [](World& w) { if (auto* c = w.control()) w.panes()->controlInvalid(c); },
    [](World& w) { if (auto* c = w.control()) w.panes()->controlValid(c); },
    [](World& w) { if (auto* c = w.control()) delete c->widget.data(); },
    [](World& w) { w.destroy(w.control()); },
    [](World& w) { w.panes()->hideAll(); },
    [](World& w) { if (w.dice(5) == 0) w.destroy(w.panes()->getViewer()); },
    [](World& w) { if (w.dice(5) == 0) w.destroy(w.panes()->getWindow()); },
    &addTool,
    [](World& w) { if (w.box) (void)w.box->connectTo(); },
    [](World& w) { if (SurgicalTool* t = w.tool()) (void)w.box->removeTool(t->getName()); },
    [](World& w) { if (w.dice(4) == 0) w.box.reset(); },
    &addWidget,
    [](World& w) { if (!w.group) w.group = new QtDRBVisibilityBox(nullptr); },
    [](World& w) { delete w.any(w.widgets); },
    [](World& w) { if (w.group) w.group->removeAllRigids(); },
    [](World& w) { if (w.dice(4) == 0) delete w.group; },
    &pollWidgets,
    &makePatientCurrent,
    [](World& w) { w.items.setStudy(DataPointer<Study>(w.dice(2) ? new Study : nullptr)); },
    [](World& w) { w.items.setDataItem(DataPointer<Data>(w.dice(2) ? new Study : nullptr)); },
    [](World& w) { w.items.setPatient({}); },
    // Somebody gives back a reference that is not his.
    [](World& w) { if (Patient* const p = w.items.patient().get()) p->unref(); },
    [](World& w) { w.subjects.push_back(std::make_unique<CaSubject>()); },
    &observe,
    &observe,
    [](World& w) { if (CaSubject* s = w.any(w.subjects)) s->notify("event"); },
    [](World& w) { if (CaSubject* s = w.any(w.subjects)) s->notify("event"); },
    &dropObserver,
    [](World& w) { (void)take(w, w.subjects); },
    [](World& w) { QtCaProgressMonitor::attach(w.dice(3) ? w.window.data() : nullptr); },
    &work,
    &cancelWork,
    [](World&) { CaProgressMonitor::getInstance()->reset(); },
    [](World&) { CaProgressMonitor::getInstance()->end(); },
    [](World& w) { CaProgressMonitor::getInstance()->setProgress(w.dice(20)); },
    [](World& w) { if (w.dice(5) == 0) CaProgressMonitor::setInstance(nullptr); },
    [](World& w) { w.own.emplace_back(*CaProgressMonitor::getInstance(), CaProgressMonitor::CANCELLED, disturbed); },
    [](World& w) {
        const DataPointer<AppBaseConfig> config(new AppBaseConfig);
        w.inDialog([&] { exec<QtConfigDialog>(config, w.list.data(), w.window.data()); });
    },
    &editPatient,
    [](World& w) { w.inDialog([&] { exec<vlr::SettingsEditorDialog>(w.window.data()); }); },
    [](World& w) { w.inDialog([&] { exec<QtAboutDialog>(w.window.data()); }); },
    [](World& w) {
        w.inDialog([&] {
            (void)QtMsgBox::postAndWait(w.window, QtMsgBox::MsgQuestion, "Question", "Is it?");
        });
    },
    [](World& w) { w.inDialog([&] { if (w.window) w.window->close(); }); },
};
// clang-format on

void World::act() {
    if (m_nesting >= mostNesting)
        return;
    ++m_nesting;
    const int number = dice(static_cast<int>(std::size(operations)));
    if (qEnvironmentVariableIsSet("VLR_FAULTS_TRACE"))
        nameCase("operation " + std::to_string(number) + " at depth " + std::to_string(m_nesting));
    operations[number](*this);
    --m_nesting;
}

World::~World() {
    CaProgressMonitor::setInstance(nullptr);
    m_nesting = mostNesting; // Nothing more happens by itself.
    destroyAll(controls);
    destroyAll(widgets);
    destroyAll(panesContents);
    destroy(group);
    destroy(list);
    destroy(window);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    world = nullptr;
}

// --- what schedules seldom come to, in words of what is wrong

std::string controlTakesTheWidgetOfTheNextOne() {
    QtAppMainWindow window(nullptr, nullptr, Qt::Window);
    TestControl control("Control");
    auto* const list = vlr::ControlList::instance();
    const bool isPlaced =
        list->addControl(&control) && list->occupyResource(&control, control.widget);
    const QPointer<QWidget> next = new QWidget;
    control.onRelease = [&] { delete next.data(); };
    window.occupyWindow(static_cast<QtAppModuleProxy*>(nullptr), next);
    list->removeControl(&control);
    return isPlaced && !next ? "" : "the control has lost no place";
}

std::string moduleEndsTouchScreenModeWhileTheWindowGoes() {
    const QPointer<QtAppMainWindow> window = new QtAppMainWindow(nullptr, nullptr, Qt::Window);
    window->setTouchScreenMode(true);
    auto* const list = new QtModuleList(window, window);
    auto* const module = new DeskModule(QStringLiteral("Module"));
    list->registerModule(module);
    bool hasLeft = false;
    module->onSwitch = [&] {
        hasLeft = true;
        window->setTouchScreenMode(false);
    };
    delete window.data();
    return hasLeft ? "" : "the module was not left";
}

std::string schedule(long seed) {
    if (seed == 0) // Before the first one, and in a process that is still empty.
        for (const auto& play :
             {&controlTakesTheWidgetOfTheNextOne, &moduleEndsTouchScreenModeWhileTheWindowGoes})
            if (const std::string wrong = play(); !wrong.empty())
                return wrong;
    World one(static_cast<quint32>(seed));
    for (int i = 0; i < stepsPerSchedule; ++i)
        one.act();
    one.destroyAll(one.controls);
    return one.panes()->getNumberOfControls() > 0 ? "the list holds controls that are gone" : "";
}

} // namespace

int actOwners(const QStringList& arguments) {
    const QuietLog quiet;
    linkPatientForm();
    return doCases(arguments, &schedule);
}

void faultOwners(Report& report) {
    const long schedules = report.extent(300, 10000);
    report.done(std::to_string(schedules) + " random schedules of " +
                std::to_string(stepsPerSchedule) + " operations, seeds from 0");
    demandCases(report, "owners", static_cast<std::size_t>(schedules),
                "dangling controls, owners that nobody told");
}
