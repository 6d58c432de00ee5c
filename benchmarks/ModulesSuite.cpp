// What it costs to go to another step of the workflow, until it is painted.

#include "Suites.h"

#include "Silence.h"
#include "Suite.h"

#include "AppBase/MainWindowServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"
#include "AppBase/vlrControlList.h"
#include "Data/Patient.h"

#include <QtGui/QPainter>
#include <QtTest/QTest>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>

#include <map>
#include <memory>
#include <stdexcept>

namespace {

constexpr double aim = 1.5;
constexpr int moduleCount = 4; // as many as the reference application has
constexpr QSize windowSize(1100, 720);

/// Shows a picture, as a view that has its slice in a cache.
class Page : public QWidget {
public:
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override {
        ++paints;
        static const QPixmap picture = [] {
            QPixmap pixmap(windowSize);
            pixmap.fill(Qt::darkBlue);
            return pixmap;
        }();
        QPainter(this).drawPixmap(0, 0, picture);
    }
};

void showIt(QWidget& window) {
    window.resize(windowSize);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window))
        throw std::runtime_error("A window does not appear.");
    QCoreApplication::processEvents();
}

// Layouts first, then what they leave to be painted.
void paintPending() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
}

class Module : public QtAppModule {
public:
    explicit Module(const QString& name) : QtAppModule(name, false), m_page(new Page) {}
    ~Module() override { delete m_page.data(); }

    void activate() override {}
    void deactivate() override {}
    QWidget* getMainWidget() override { return m_page; }
    int paints() const { return m_page ? m_page->paints : 0; }

private:
    QPointer<Page> m_page;
};

class Services : public vlr::MainWindowServices {
public:
    explicit Services(QtAppMainWindow* window) : m_window(window) {}
    QtAppMainWindow* getMainWindow() const override { return m_window; }
    DataPointer<Patient> currentPatient() const override { return {}; }
    void setBusyCursor() override { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    void resetCursor() override { QGuiApplication::restoreOverrideCursor(); }

private:
    QtAppMainWindow* m_window;
};

/// The main window with its modules, whose tabs follow them.
class Workflow {
public:
    explicit Workflow(long count)
        : m_window(nullptr, nullptr, Qt::Window), m_services(&m_window),
          m_list(&m_window, nullptr) {
        auto* const tabs =
            new QtModuleTabSelector(QtModuleSelector::Top, false, false, false, false);
        QObject::connect(&m_list, &QtModuleList::registered, tabs, &QtModuleSelector::addModule);
        QObject::connect(&m_list, QOverload<QString, int>::of(&QtModuleList::activated), tabs,
                         &QtModuleSelector::moduleActivated);
        m_window.setModuleSelector(tabs);
        for (long i = 0; i < count; ++i) {
            m_modules.push_back(new Module(QStringLiteral("Module %1").arg(i)));
            m_list.registerModule(m_modules.back());
        }
        showIt(m_window);
    }

    void switchModules(benchmark::State& state) {
        // As in an application, of which there is one.
        const Services services(&m_window);
        const int count = static_cast<int>(m_modules.size());
        int index = m_list.currentIndex();
        const int before = paints();
        for (auto _ : state) {
            index = (index + 1) % count;
            m_list.activate(index);
            paintPending();
        }
        if (count > 1 && paints() - before < state.iterations())
            state.SkipWithError("A module was not painted.");
    }

private:
    int paints() const {
        int sum = 0;
        for (const Module* module : m_modules)
            sum += module->paints();
        return sum;
    }

    QtAppMainWindow m_window;
    Services m_services; // The first module is activated while it is registered.
    QtModuleList m_list;
    std::vector<Module*> m_modules; // of the list
};

/// What one would write: a page for each step, with the same picture and room for its buttons.
class Stack {
public:
    explicit Stack(int count) {
        for (int i = 0; i < count; ++i) {
            auto* const step = new QWidget;
            auto* const layout = new QHBoxLayout(step);
            auto* const context = new QWidget;
            context->setFixedWidth(200);
            layout->addWidget(new Page, 1);
            layout->addWidget(context);
            m_stack->addWidget(step);
        }
        m_window.setCentralWidget(m_stack);
        showIt(m_window);
    }

    void switchPages(benchmark::State& state) {
        for (auto _ : state) {
            m_stack->setCurrentIndex((m_stack->currentIndex() + 1) % m_stack->count());
            paintPending();
        }
    }

private:
    QMainWindow m_window;
    QStackedWidget* m_stack = new QStackedWidget;
};

template <class Value>
Value& cached(std::map<long, std::unique_ptr<Value>>& values, long count) {
    std::unique_ptr<Value>& value = values[count];
    if (!value)
        value = std::make_unique<Value>(count);
    return *value;
}

// --- controls

class View : public vlr::Control {
public:
    explicit View(long number) : Control("View " + std::to_string(number)), m_widget(new Page) {}
    ~View() override {
        if (vlr::ControlList::instance()->getControl(name()) == this)
            vlr::ControlList::instance()->removeControl(this);
        delete m_widget.data();
    }

    bool isValid() override { return true; }
    QString title() override { return QString::fromStdString(name()); }
    void release() override {
        if (m_widget)
            m_widget->setParent(nullptr);
    }
    QWidget* widget() { return m_widget; }

private:
    QPointer<Page> m_widget;
};

// One control comes and goes while so many are in the list.
void showControl(benchmark::State& state) {
    const Silence silence;
    const Silence noLines(STDOUT_FILENO); // The list tells what it does there.
    QtAppMainWindow window(nullptr, nullptr, Qt::Window);
    const Services services(&window);
    auto* const list = vlr::ControlList::instance();
    std::vector<std::unique_ptr<View>> views;
    for (long i = 0; i < state.range(0); ++i) {
        views.push_back(std::make_unique<View>(i));
        list->addControl(views.back().get());
    }
    View& shown = *views[views.size() / 2];
    const QString name = QString::fromStdString(shown.name());
    window.resize(windowSize);
    window.show();
    for (auto _ : state) {
        list->occupyResource(vlr::ControlList::UpperLeft, &shown, shown.widget(), 0.5F, 0.5F);
        if (!list->showControl(name))
            state.SkipWithError("The control is not shown.");
        list->hideControl(name);
        list->freeResourcesOf(&shown);
        paintPending();
    }
    views.clear();
}

} // namespace

void addModules(Suite& suite) {
    const auto workflows = std::make_shared<std::map<long, std::unique_ptr<Workflow>>>();
    const auto stack = std::make_shared<Stack>(moduleCount);
    suite.compare({"switch", "activating a module, painted / QStackedWidget, painted", aim,
                   [workflows](benchmark::State& state) {
                       cached(*workflows, moduleCount).switchModules(state);
                   },
                   [stack](benchmark::State& state) { stack->switchPages(state); }});
    suite.grow({"count",
                "activating one of so many modules, painted",
                {2, 10, 50, 200},
                [workflows](benchmark::State& state) {
                    cached(*workflows, state.range(0)).switchModules(state);
                }});
    suite.grow({"controls",
                "showing and hiding one of so many controls",
                {1, 10, 100, 1000},
                &showControl});
}
