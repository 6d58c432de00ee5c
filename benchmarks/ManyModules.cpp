// An application of so many modules, which ends after its first frame: ManyModules COUNT.

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/Selectors/QtModuleTabSelector.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QLabel>

#include <cstdlib>
#include <iostream>

namespace {

class Module : public QtAppModule {
public:
    explicit Module(const QString& name) : QtAppModule(name, false), m_view(new QLabel(name)) {}
    ~Module() override { delete m_view.data(); }

    void activate() override {}
    void deactivate() override {}
    QWidget* getMainWidget() override { return m_view; }

private:
    QPointer<QLabel> m_view;
};

class FirstFrame : public QObject {
public:
    explicit FirstFrame(AppBase& application) : m_application(application) {
        application.getMainWindow()->installEventFilter(this);
    }

private:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // The frame is complete when the event loop is back.
            QTimer::singleShot(0, this, [this] {
                std::cout << "first frame" << std::endl;
                m_application.exitApplication();
            });
        }
        return false;
    }

    AppBase& m_application;
};

} // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 0;
    AppBase application(argc, argv);
    for (int i = 0; i < count; ++i)
        application.addModule(new Module(QStringLiteral("Module %1").arg(i)));
    application.setModuleSelector(
        new QtModuleTabSelector(QtModuleSelector::Top, true, true, true, true));
    const FirstFrame firstFrame(application);
    return application.run();
}
