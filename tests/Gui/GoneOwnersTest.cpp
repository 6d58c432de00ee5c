// What goes while the library is in the middle of something with it.

#include "GuiTest.h"

#include "AppBase/QtModuleList.h"
#include "AppBase/vlrControlList.h"

namespace {

class Control : public vlr::Control {
public:
    Control() : vlr::Control("Control") {}
    bool isValid() override { return true; }
    QString title() override { return QStringLiteral("Control"); }
    void release() override {
        widget.setParent(nullptr);
        delete victim;
    }
    QWidget widget;
    QPointer<QWidget> victim;
};

class Module : public QtAppModule {
public:
    Module() : QtAppModule(QStringLiteral("Module"), false) {}
    void activate() override {}
    void deactivate() override {
        hasLeft = true;
        window->setTouchScreenMode(false);
    }
    QPointer<QtAppMainWindow> window;
    static bool hasLeft;
};
bool Module::hasLeft = false;

class GoneOwnersTest : public vlrTest::GuiTest {};

} // namespace

TEST_F(GoneOwnersTest, AControlThatLosesItsPlaceMayTakeTheWidgetOfTheNextOne) {
    QtAppMainWindow window(nullptr, nullptr, Qt::Window);
    Control control;
    auto* const list = vlr::ControlList::instance();
    ASSERT_TRUE(list->addControl(&control));
    ASSERT_TRUE(list->occupyResource(&control, &control.widget));
    const QPointer<QWidget> next = new QWidget;
    control.victim = next;
    window.occupyWindow(static_cast<QtAppModuleProxy*>(nullptr), next);
    EXPECT_EQ(next, nullptr);
    list->removeControl(&control);
}

TEST_F(GoneOwnersTest, AModuleMayEndTouchScreenModeWhileTheWindowGoes) {
    auto* const window = new QtAppMainWindow(nullptr, nullptr, Qt::Window);
    window->setTouchScreenMode(true);
    auto* const list = new QtModuleList(window, window);
    auto* const module = new Module;
    module->window = window;
    list->registerModule(module);
    list->activate(0);
    delete window;
    EXPECT_TRUE(Module::hasLeft);
}
