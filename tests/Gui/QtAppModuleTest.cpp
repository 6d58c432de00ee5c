#include "AppBase/QtAppModuleImpl.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/VerifiedConnection.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Exception/vlrWatchdogException.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"

#include <QtCore/QMetaMethod>
#include <QtTest/QSignalSpy>

using namespace vlrTest;

namespace {

class QtAppModuleTest : public GuiTest {
protected:
    QtAppModuleTest() { services.window = window.get(); }

    static QString configurationFile() {
        return DataIOManager::configurationPath(QStringLiteral("ImageFusionModuleConfiguration"));
    }

    FakeServices services;
    std::unique_ptr<QtAppMainWindow> window =
        std::make_unique<QtAppMainWindow>(nullptr, nullptr, Qt::Window);
    QStringList calls;
};

DataPointer<Configuration> makeOptions() {
    return DataPointer<Configuration>(new Configuration);
}

} // namespace

TEST_F(QtAppModuleTest, HandsOnTheSignalsOfItsImplementation) {
    RecordingModule module(QStringLiteral("A"));
    QtAppModuleImpl* impl = module.impl();
    const QMetaObject* meta = &QtAppModuleImpl::staticMetaObject;
    int handedOn = 0;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod signal = meta->method(i);
        const QByteArray signature = signal.methodSignature();
        QSignalSpy spy(&module, ("2" + signature).constData());
        ASSERT_TRUE(spy.isValid()) << signature.constData();
        const int type = signal.parameterCount() ? signal.parameterType(0) : QMetaType::Void;
        if (type == QMetaType::QString)
            signal.invoke(impl, Q_ARG(QString, QStringLiteral("B")));
        else if (type == QMetaType::Int)
            signal.invoke(impl, Q_ARG(int, 7));
        else if (type == QMetaType::Bool)
            signal.invoke(impl, Q_ARG(bool, true));
        else
            signal.invoke(impl);
        EXPECT_EQ(spy.size(), 1) << signature.constData();
        handedOn += spy.size();
    }
    EXPECT_EQ(handedOn, 8);
}

TEST(VerifiedConnection, AFailureIsWrittenOutAndThrown) {
    EXPECT_NO_THROW(vlr::verify(true, "connect(x)", "source", 1));
    testing::internal::CaptureStdout();
    std::string thrown;
    try {
        vlr::verify(false, "connect(a, SIGNAL(b()), c, SIGNAL(d()))", "..\\Gui\\QtAppModule", 45);
    } catch (const vlr::WatchdogException& exception) {
        thrown = exception.text();
    }
    const std::string expected = "Assertion connect(a, SIGNAL(b()), c, SIGNAL(d())) failed in "
                                 "..\\Gui\\QtAppModule at line 45\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_EQ(thrown, expected);
}

TEST_F(QtAppModuleTest, AProxyWithoutModuleOrWindowCanNeverActivate) {
    RecordingModule module(QStringLiteral("A"), &calls);
    QtAppModuleProxy withoutWindow(&module, nullptr);
    QtAppModuleProxy withoutModule(nullptr, window.get());
    for (QtAppModuleProxy* proxy : {&withoutWindow, &withoutModule}) {
        EXPECT_FALSE(proxy->isEnabled());
        EXPECT_EQ(proxy->objectName(), QString());
        EXPECT_EQ(proxy->module(), nullptr);
        proxy->enable();
        proxy->activate();
        EXPECT_TRUE(proxy->moduleName().isNull());
        EXPECT_FALSE(proxy->moduleConfiguration());
        EXPECT_FALSE(proxy->moduleGeneralOptions());
    }
    EXPECT_TRUE(*static_cast<QtAppModuleProxy*>(&withoutModule) == nullptr);
    EXPECT_FALSE(withoutModule == &module);
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(QtAppModuleTest, ActivationAndDeactivationRunInTheirOrder) {
    auto* module = new RecordingModule(QStringLiteral("A"), &services.calls);
    module->mainWidget = new QWidget;
    QtAppModuleProxy proxy(module, window.get());
    EXPECT_EQ(proxy.objectName(), QStringLiteral("A Proxy"));
    QObject::connect(&proxy, &QtAppModuleProxy::aboutToActivate,
                     [&] { services.calls << QStringLiteral("aboutToActivate"); });
    QObject::connect(&proxy, &QtAppModuleProxy::raiseWidget,
                     [&](int index) { services.calls << QStringLiteral("raise %1").arg(index); });

    proxy.activate();
    EXPECT_TRUE(module->isActive());
    EXPECT_TRUE(module->mainWidget->parentWidget());
    EXPECT_TRUE(window->isAncestorOf(module->getWidget()));
    EXPECT_FALSE(module->getWidget()->isHidden());
    proxy.activate();
    proxy.deactivate();
    EXPECT_FALSE(module->isActive());
    proxy.deactivate();
    EXPECT_EQ(services.calls.join(QLatin1Char(',')),
              QStringLiteral("aboutToActivate,busy,A getMainWidget,A activate,reset,raise 1,"
                             "busy,A deactivate,reset"));
    // Deactivation takes nothing away.
    EXPECT_TRUE(module->mainWidget->parentWidget());
}

TEST_F(QtAppModuleTest, AModuleWithoutMainWidgetLeavesTheViewerAreaAsItIs) {
    auto other = std::make_unique<QWidget>();
    window->occupyWindow(static_cast<QtAppModuleProxy*>(nullptr), other.get());
    QtAppModuleProxy proxy(new RecordingModule(QStringLiteral("A")), window.get());
    QSignalSpy raised(&proxy, &QtAppModuleProxy::raiseWidget);
    proxy.activate();
    EXPECT_TRUE(other->parentWidget());
    EXPECT_EQ(raised.size(), 1);
}

TEST_F(QtAppModuleTest, DisablingNeitherDeactivatesNorPreventsTheEnd) {
    {
        auto* module = new RecordingModule(QStringLiteral("A"), &calls);
        QtAppModuleProxy proxy(module, window.get());
        QSignalSpy enabled(&proxy, &QtAppModuleProxy::enabled);
        proxy.activate(true);
        proxy.disable();
        proxy.disable();
        proxy.activate(false);
        EXPECT_TRUE(module->isActive());
        proxy.setEnabled(true);
        proxy.setEnabled(false);
        EXPECT_EQ(enabled.size(), 4);
        EXPECT_EQ(enabled.last().first().toBool(), false);
    }
    EXPECT_EQ(calls, (QStringList{QStringLiteral("A getMainWidget"), QStringLiteral("A activate"),
                                  QStringLiteral("A deactivate"), QStringLiteral("A deleted")}));
}

TEST_F(QtAppModuleTest, AModuleThatIsDestroyedElsewhereLeavesAnEmptyProxy) {
    auto* module = new RecordingModule(QStringLiteral("A"));
    QtAppModuleProxy proxy(module, window.get());
    EXPECT_TRUE(proxy == module);
    delete module;
    EXPECT_TRUE(proxy == nullptr);
    proxy.activate();
    proxy.deactivate();
    proxy.storeConfiguration();
    EXPECT_TRUE(proxy.moduleName().isNull());

    // Also when it happens in the middle of its own activation or deactivation.
    for (auto RecordingModule::*hook :
         {&RecordingModule::onActivate, &RecordingModule::onDeactivate,
          &RecordingModule::onMainWidget}) {
        auto* second = new RecordingModule(QStringLiteral("B"));
        second->*hook = [second] { delete second; };
        QtAppModuleProxy secondProxy(second, window.get());
        services.calls.clear();
        secondProxy.activate();
        secondProxy.deactivate();
        EXPECT_EQ(secondProxy.module(), nullptr);
        EXPECT_EQ(services.calls.count(QStringLiteral("busy")),
                  services.calls.count(QStringLiteral("reset")));
    }
}

TEST_F(QtAppModuleTest, AModuleThatIsLeftBeforeItsTurnIsNotActivated) {
    auto* module = new RecordingModule(QStringLiteral("A"), &calls);
    QtAppModuleProxy proxy(module, window.get());
    module->onMainWidget = [&] { proxy.deactivate(); };
    proxy.activate();
    EXPECT_EQ(calls,
              (QStringList{QStringLiteral("A getMainWidget"), QStringLiteral("A deactivate")}));
    EXPECT_FALSE(module->isActive());
}

TEST_F(QtAppModuleTest, DeactivatingFromWithinDeactivateDoesNotRecurse) {
    auto* module = new RecordingModule(QStringLiteral("A"), &calls);
    QtAppModuleProxy proxy(module, window.get());
    module->onDeactivate = [&] { proxy.deactivate(); };
    proxy.activate();
    proxy.deactivate();
    EXPECT_EQ(calls.count(QStringLiteral("A deactivate")), 1);
    EXPECT_FALSE(module->isActive());
}

TEST_F(QtAppModuleTest, TheViewIsLockedWhileAModuleThatWantsItIsActive) {
    const auto isLocked = [] {
        return vlr::ControlList::instance()->getViewer()->isAspectRatioLocked();
    };
    auto* const module = new RecordingModule(QStringLiteral("A"), nullptr, true);
    QtAppModuleProxy proxy(module, window.get());
    EXPECT_TRUE(module->isViewLocked());
    EXPECT_FALSE(isLocked());
    bool duringActivate = false;
    bool duringDeactivate = false;
    module->onActivate = [&] { duringActivate = isLocked(); };
    module->onDeactivate = [&] { duringDeactivate = isLocked(); };
    proxy.activate();
    EXPECT_TRUE(duringActivate);
    module->setViewLocked(false);
    EXPECT_FALSE(isLocked());
    module->setViewLocked(true);
    EXPECT_TRUE(isLocked());
    proxy.deactivate();
    EXPECT_TRUE(duringDeactivate);
    EXPECT_FALSE(isLocked());
    module->setViewLocked(true);
    EXPECT_FALSE(isLocked()) << "only stored while inactive";

    vlr::ControlList::instance()->getViewer()->lockAspectRatio();
    QtAppModuleProxy other(new RecordingModule(QStringLiteral("B")), window.get());
    other.activate();
    EXPECT_FALSE(isLocked());
}

TEST_F(QtAppModuleTest, OwnOptionsAndGeneralOptionsAreStoredUnderTheName) {
    {
        QtAppModuleProxy proxy(new RecordingModule(QStringLiteral(" Image \t Fusion ")),
                               window.get());
        EXPECT_FALSE(proxy.moduleConfiguration());
        const DataPointer<Configuration> options = makeOptions();
        proxy.module()->setConfiguration(options.get());
        EXPECT_EQ(proxy.module()->configuration(), options.get());
        EXPECT_EQ(options->id(), QStringLiteral("ModuleSpecificOptions"));
        proxy.moduleGeneralOptions()->setNoDimensionSets(3);
        EXPECT_EQ(proxy.moduleGeneralOptions()->id(), QStringLiteral("GeneralModuleOptions"));
        proxy.storeConfiguration();
    }
    EXPECT_TRUE(QFile::exists(configurationFile()));
    QtAppModuleProxy proxy(new RecordingModule(QStringLiteral("ImageFusion")), window.get());
    EXPECT_EQ(proxy.moduleGeneralOptions()->noDimensionSets(), 3);
    EXPECT_TRUE(proxy.moduleConfiguration());
    proxy.module()->setConfiguration(nullptr);
    EXPECT_FALSE(proxy.moduleConfiguration());
}

TEST_F(QtAppModuleTest, AnUntouchedModuleWritesNoFile) {
    QtAppModuleProxy proxy(new RecordingModule(QStringLiteral("Image Fusion")), window.get());
    proxy.activate();
    proxy.storeConfiguration();
    EXPECT_FALSE(QFile::exists(configurationFile()));
}

TEST_F(QtAppModuleTest, GeneralOptionsOfAnotherClassAreReplaced) {
    const DataPointer<Configuration> stored = makeOptions();
    const DataPointer<Configuration> wrong = makeOptions();
    wrong->setId(QStringLiteral("GeneralModuleOptions"));
    ASSERT_EQ(stored->addChild(wrong, true), CaError::nullError);
    ASSERT_EQ(DataIOManager::storeConfiguration(QStringLiteral("AModuleConfiguration"), stored),
              CaError::nullError);
    QtAppModuleProxy proxy(new RecordingModule(QStringLiteral("A")), window.get());
    const auto options = proxy.moduleGeneralOptions();
    EXPECT_EQ(options->noDimensionSets(), 5);
    EXPECT_EQ(proxy.moduleGeneralOptions(), options);
}

TEST_F(QtAppModuleTest, AConfigurationThatCannotBeStoredIsLogged) {
    QtAppModuleProxy proxy(new RecordingModule(QStringLiteral("A")), window.get());
    (void)proxy.moduleGeneralOptions();
    expectLog(vlr::LogLevel::Error, "Module: A: Could not store configuration. Reason: ");
    const FullDisk fullDisk;
    proxy.storeConfiguration();
}
