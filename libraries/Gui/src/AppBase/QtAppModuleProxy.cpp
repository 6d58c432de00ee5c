#include "AppBase/QtAppModuleProxy.h"

#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleImpl.h"
#include "Base/ApplicationServices.h"

#include <QtWidgets/QWidget>

QtAppModuleProxy::~QtAppModuleProxy() {
    // A module that takes the window away now must not take this along a second time.
    setParent(nullptr);
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

// Whatever is called here may ask for another module, or destroy this one, or the window and the
// proxy with it.
void QtAppModuleProxy::activate() {
    if (!m_enabled || !impl() || impl()->isActive())
        return;
    const QPointer<QtAppModuleProxy> self = this;
    emit aboutToActivate();
    if (!self || !impl() || impl()->isActive())
        return;
    impl()->preActivate();
    if (self && impl())
        placeMainWidget();
    if (self && impl() && impl()->isActive())
        m_module->activate();
    if (!self || !impl()) {
        if (auto* services = ApplicationServices::instance())
            services->resetCursor();
        return;
    }
    impl()->postActivate();
    if (self && impl() && impl()->isActive())
        emit raiseWidget(m_contextWidgetIndex);
}

void QtAppModuleProxy::placeMainWidget() {
    const QPointer<QtAppModuleProxy> self = this;
    const QPointer<QWidget> widget = m_module->getMainWidget();
    auto* services = ApplicationServices::instance();
    if (self && widget && services)
        services->showMainWidget(widget);
}

void QtAppModuleProxy::deactivate() {
    if (m_enabled && impl() && impl()->isActive())
        runDeactivation();
}

void QtAppModuleProxy::runDeactivation() {
    if (m_deactivating)
        return; // The module asks for another one from within its deactivate().
    const QPointer<QtAppModuleProxy> self = this;
    m_deactivating = true;
    impl()->preDeactivate();
    if (impl())
        m_module->deactivate();
    if (self && impl())
        impl()->postDeactivate();
    else if (auto* services = ApplicationServices::instance())
        services->resetCursor();
    if (self)
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

QString QtAppModuleProxy::configurationName() const {
    return impl() ? impl()->configName() : QString();
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
