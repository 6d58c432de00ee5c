#include "AppBase/QtAppModuleProxy.h"

#include "AppBase/ApplicationServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleImpl.h"

QtAppModuleProxy::QtAppModuleProxy(QtAppModule* module, QtAppMainWindow* mainWindow)
    : QObject(mainWindow) {
    if (!module || !mainWindow)
        return;
    setObjectName(module->name() + QStringLiteral(" Proxy"));
    m_contextWidgetIndex = mainWindow->addContextWidget(module->getWidget());
    connect(this, SIGNAL(raiseWidget(int)), mainWindow, SLOT(raiseContextWidget(int)));
    m_enabled = true;
    m_module = module;
}

QtAppModuleProxy::~QtAppModuleProxy() {
    if (impl() && impl()->isActive())
        runDeactivation();
    delete m_module.data();
}

QtAppModuleImpl* QtAppModuleProxy::impl() const {
    return m_module ? m_module->m_impl : nullptr;
}

QtAppModule* QtAppModuleProxy::module() const {
    return m_module;
}

void QtAppModuleProxy::activate() {
    if (!m_enabled || !impl() || impl()->isActive())
        return;
    emit aboutToActivate();
    if (!impl() || impl()->isActive())
        return;
    impl()->preActivate();
    placeMainWidget();
    // Whatever is called here may ask for another module, or destroy this one.
    if (impl() && impl()->isActive())
        m_module->activate();
    if (!impl()) {
        if (auto* services = ApplicationServices::instance())
            services->resetCursor();
        return;
    }
    impl()->postActivate();
    if (impl()->isActive())
        emit raiseWidget(m_contextWidgetIndex);
}

void QtAppModuleProxy::placeMainWidget() {
    QWidget* widget = m_module->getMainWidget();
    auto* services = ApplicationServices::instance();
    if (widget && services && services->getMainWindow())
        services->getMainWindow()->occupyWindow(this, widget);
}

void QtAppModuleProxy::deactivate() {
    if (m_enabled && impl() && impl()->isActive())
        runDeactivation();
}

void QtAppModuleProxy::runDeactivation() {
    if (m_deactivating)
        return; // The module asks for another one from within its deactivate().
    m_deactivating = true;
    impl()->preDeactivate();
    m_module->deactivate();
    if (impl())
        impl()->postDeactivate();
    else if (auto* services = ApplicationServices::instance())
        services->resetCursor();
    m_deactivating = false;
}

void QtAppModuleProxy::activate(bool on) {
    if (on)
        activate();
    else
        deactivate();
}

void QtAppModuleProxy::enable() {
    setEnabled(true);
}

void QtAppModuleProxy::disable() {
    setEnabled(false);
}

void QtAppModuleProxy::setEnabled(bool on) {
    m_enabled = on;
    emit enabled(on);
}

bool QtAppModuleProxy::operator==(QtAppModule* module) {
    return m_module == module;
}

QString QtAppModuleProxy::moduleName() {
    return m_module ? m_module->name() : QString();
}

DataPointer<Data> QtAppModuleProxy::moduleConfiguration() const {
    return impl() ? impl()->configuration() : DataPointer<Data>();
}

DataPointer<ModuleConfig> QtAppModuleProxy::moduleGeneralOptions() const {
    return impl() ? impl()->generalOptions() : DataPointer<ModuleConfig>();
}

void QtAppModuleProxy::storeConfiguration() const {
    if (impl())
        impl()->storeConfiguration();
}
