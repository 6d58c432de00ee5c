#include "AppBase/QtAppModuleImpl.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Base/VerifiedConnection.h"
#include "Exception/vlrWatchdogException.h"
#include "Gui/GuiTest.h"

#include <QtCore/QMetaMethod>

using namespace vlrTest;

namespace {

using QtAppModuleTest = WindowTest;

} // namespace

TEST_F(QtAppModuleTest, HandsOnTheSignalsOfItsImplementation) {
    RecordingModule module("A"_s);
    QtAppModuleImpl* impl = module.impl();
    const QMetaObject* meta = &QtAppModuleImpl::staticMetaObject;
    int handedOn = 0;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod signal = meta->method(i);
        const QByteArray signature = signal.methodSignature();
        SCOPED_TRACE(signature.constData());
        QSignalSpy spy(&module, ("2" + signature).constData());
        ASSERT_TRUE(spy.isValid());
        const int type = signal.parameterCount() ? signal.parameterType(0) : QMetaType::UnknownType;
        const QVariant argument(type, nullptr);
        signal.invoke(impl, QGenericArgument(QMetaType::typeName(type), argument.constData()));
        EXPECT_EQ(spy.size(), 1);
        handedOn += spy.size();
    }
    EXPECT_EQ(handedOn, 8);
}

TEST(VerifiedConnection, AFailureIsWrittenOutAndThrown) {
    EXPECT_NO_THROW(vlr::verify(true, "connect(x)", "source", 1));
    const std::string expected = "Assertion connect(a, SIGNAL(b()), c, SIGNAL(d())) failed in "
                                 "..\\Gui\\QtAppModule at line 45\n";
    testing::internal::CaptureStdout();
    try {
        vlr::verify(false, "connect(a, SIGNAL(b()), c, SIGNAL(d()))", "..\\Gui\\QtAppModule", 45);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vlr::WatchdogException& exception) {
        EXPECT_EQ(exception.text(), expected);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST_F(QtAppModuleTest, AProxyWithoutModuleOrWindowCanNeverActivate) {
    RecordingModule module("A"_s, &calls);
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
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(QtAppModuleTest, ActivationAndDeactivationRunInTheirOrder) {
    auto* module = new RecordingModule("A"_s, &services.calls);
    module->mainWidget = new QWidget;
    QtAppModuleProxy proxy(module, window.get());
    EXPECT_EQ(proxy.objectName(), "A Proxy"_s);
    QObject::connect(&proxy, &QtAppModuleProxy::aboutToActivate,
                     [&] { services.calls << "aboutToActivate"_s; });
    QObject::connect(&proxy, &QtAppModuleProxy::raiseWidget,
                     [&](int index) { services.calls << "raise %1"_s.arg(index); });

    proxy.activate();
    EXPECT_TRUE(module->isActive());
    EXPECT_TRUE(module->mainWidget->parentWidget());
    EXPECT_TRUE(window->isAncestorOf(module->getWidget()));
    EXPECT_FALSE(module->getWidget()->isHidden());
    proxy.activate();
    proxy.deactivate();
    EXPECT_FALSE(module->isActive());
    proxy.deactivate();
    EXPECT_EQ(take(services.calls),
              "aboutToActivate, busy, A getMainWidget, A activate, reset, raise 1, "
              "busy, A deactivate, reset");
    // Deactivation takes nothing away, nor does a module without a main widget.
    QtAppModuleProxy other(new RecordingModule("B"_s), window.get());
    QSignalSpy raised(&other, &QtAppModuleProxy::raiseWidget);
    other.activate();
    EXPECT_EQ(raised.size(), 1);
    EXPECT_TRUE(module->mainWidget->parentWidget());
}

TEST_F(QtAppModuleTest, DisablingNeitherDeactivatesNorPreventsTheEnd) {
    {
        auto* module = new RecordingModule("A"_s, &calls);
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
    EXPECT_EQ(take(calls), "A getMainWidget, A activate, A deactivate, A deleted");
}

TEST_F(QtAppModuleTest, AModuleThatIsDestroyedElsewhereLeavesAnEmptyProxy) {
    auto* module = new RecordingModule("A"_s);
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
        auto* second = new RecordingModule("B"_s);
        second->*hook = [second] { delete second; };
        QtAppModuleProxy secondProxy(second, window.get());
        services.calls.clear();
        secondProxy.activate();
        secondProxy.deactivate();
        EXPECT_EQ(secondProxy.module(), nullptr);
        EXPECT_EQ(services.calls.count("busy"_s), services.calls.count("reset"_s));
    }
}

TEST_F(QtAppModuleTest, DeactivatingFromWithinIsDoneOnce) {
    auto* module = new RecordingModule("A"_s, &calls);
    QtAppModuleProxy proxy(module, window.get());
    const auto deactivate = [&] { proxy.deactivate(); };
    module->onDeactivate = deactivate;
    proxy.activate();
    proxy.deactivate();
    EXPECT_FALSE(module->isActive());
    EXPECT_EQ(take(calls), "A getMainWidget, A activate, A deactivate");
    // One that is left before its turn is not activated.
    module->onMainWidget = deactivate;
    proxy.activate();
    EXPECT_FALSE(module->isActive());
    EXPECT_EQ(take(calls), "A getMainWidget, A deactivate");
}

TEST_F(QtAppModuleTest, TheViewIsLockedWhileAModuleThatWantsItIsActive) {
    const auto isLocked = [] {
        return vlr::ControlList::instance()->getViewer()->isAspectRatioLocked();
    };
    auto* const module = new RecordingModule("A"_s, nullptr, true);
    QtAppModuleProxy proxy(module, window.get());
    EXPECT_TRUE(module->isViewLocked());
    EXPECT_FALSE(isLocked());
    module->onActivate = [&] { calls << (isLocked() ? "locked"_s : "free"_s); };
    module->onDeactivate = module->onActivate;
    proxy.activate();
    module->setViewLocked(false);
    EXPECT_FALSE(isLocked());
    module->setViewLocked(true);
    EXPECT_TRUE(isLocked());
    proxy.deactivate();
    EXPECT_EQ(take(calls), "locked, locked");
    EXPECT_FALSE(isLocked());
    module->setViewLocked(true);
    EXPECT_FALSE(isLocked()) << "only stored while inactive";

    vlr::ControlList::instance()->getViewer()->lockAspectRatio();
    QtAppModuleProxy other(new RecordingModule("B"_s), window.get());
    other.activate();
    EXPECT_FALSE(isLocked());
}

TEST_F(QtAppModuleTest, OwnOptionsAndGeneralOptionsAreStoredUnderTheName) {
    const QString file = DataIOManager::configurationPath("ImageFusionModuleConfiguration"_s);
    {
        QtAppModuleProxy proxy(new RecordingModule(" Image \t Fusion "_s), window.get());
        proxy.activate();
        proxy.storeConfiguration();
        EXPECT_FALSE(QFile::exists(file)) << "an untouched module writes no file";
        EXPECT_FALSE(proxy.moduleConfiguration());
        const DataPointer<Configuration> options(new Configuration);
        proxy.module()->setConfiguration(options.get());
        EXPECT_EQ(proxy.module()->configuration(), options.get());
        EXPECT_EQ(options->id(), "ModuleSpecificOptions"_s);
        proxy.moduleGeneralOptions()->setNoDimensionSets(3);
        EXPECT_EQ(proxy.moduleGeneralOptions()->id(), "GeneralModuleOptions"_s);
        proxy.storeConfiguration();
    }
    EXPECT_TRUE(QFile::exists(file));
    QtAppModuleProxy proxy(new RecordingModule("ImageFusion"_s), window.get());
    EXPECT_EQ(proxy.moduleGeneralOptions()->noDimensionSets(), 3);
    EXPECT_TRUE(proxy.moduleConfiguration());
    proxy.module()->setConfiguration(nullptr);
    EXPECT_FALSE(proxy.moduleConfiguration());
}

TEST_F(QtAppModuleTest, GeneralOptionsOfAnotherClassAreReplacedAndAFullDiskIsLogged) {
    const DataPointer<Configuration> stored(new Configuration);
    const DataPointer<Configuration> wrong(new Configuration);
    wrong->setId("GeneralModuleOptions"_s);
    ASSERT_EQ(stored->addChild(wrong, true), CaError::nullError);
    ASSERT_EQ(DataIOManager::storeConfiguration("AModuleConfiguration"_s, stored),
              CaError::nullError);
    QtAppModuleProxy proxy(new RecordingModule("A"_s), window.get());
    const auto options = proxy.moduleGeneralOptions();
    EXPECT_EQ(options->noDimensionSets(), 5);
    EXPECT_EQ(proxy.moduleGeneralOptions(), options);

    expectLog(LogLevel::Error, "Module: A: Could not store configuration. Reason: ");
    const FullDisk fullDisk;
    proxy.storeConfiguration();
}
