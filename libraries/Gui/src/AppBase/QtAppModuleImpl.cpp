#include "AppBase/QtAppModuleImpl.h"

#include "AppBase/vlrControlList.h"
#include "Base/ApplicationServices.h"
#include "Base/QtQuadView.h"
#include "DataUtils/DataFactory.h"
#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"

namespace {

const QString specificOptionsId = QStringLiteral("ModuleSpecificOptions");
const QString generalOptionsId = QStringLiteral("GeneralModuleOptions");

void setBusyCursor() {
    if (auto* services = ApplicationServices::instance())
        services->setBusyCursor();
}

void resetCursor() {
    if (auto* services = ApplicationServices::instance())
        services->resetCursor();
}

} // namespace

QtAppModuleImpl::QtAppModuleImpl(QString name, bool viewLocked)
    : m_viewLocked(viewLocked), m_name(name) {
    setObjectName(m_name);
    createModuleConfigFactory();
    // The widget is registered when the library is loaded.
    linkDataToWidget(ModuleConfig::className, "QtModuleConfigWidget", "Module General Options",
                     DataFactory::configurationRecord, "");
}

QtAppModuleImpl::~QtAppModuleImpl() = default;

void QtAppModuleImpl::setViewLocked(bool locked) {
    m_viewLocked = locked;
    lockView(locked);
}

void QtAppModuleImpl::lockView(bool on) {
    QtQuadView* const viewer = m_active ? vlr::ControlList::instance()->getViewer() : nullptr;
    if (!viewer)
        return;
    if (on)
        viewer->lockAspectRatio();
    else
        viewer->unlockAspectRatio();
}

QString QtAppModuleImpl::configName() const {
    return m_name.simplified().remove(QLatin1Char(' ')) + QStringLiteral("ModuleConfiguration");
}

void QtAppModuleImpl::loadConfiguration() {
    if (m_configuration)
        return;
    m_configuration = DataPointer<Configuration>(new Configuration);
    const CaError error = DataIOManager::loadConfiguration(configName(), m_configuration);
    if (error != CaError::nullError)
        m_configuration = DataPointer<Configuration>(new Configuration);
}

void QtAppModuleImpl::storeConfiguration() const {
    if (!m_configuration)
        return;
    const CaError error = DataIOManager::storeConfiguration(configName(), m_configuration);
    if (error != CaError::nullError)
        VLR_LOG(Error) << "Module: " << m_name
                       << ": Could not store configuration. Reason: " << error;
}

DataPointer<Data> QtAppModuleImpl::configuration() {
    loadConfiguration();
    return m_configuration->hasChildAndGet(specificOptionsId);
}

void QtAppModuleImpl::setConfiguration(const DataPointer<Data>& configuration) {
    loadConfiguration();
    if (const auto previous = m_configuration->hasChildAndGet(specificOptionsId))
        (void)m_configuration->removeChild(previous.get());
    if (!configuration)
        return;
    configuration->setId(specificOptionsId);
    (void)m_configuration->addChild(configuration, true);
}

DataPointer<ModuleConfig> QtAppModuleImpl::generalOptions() {
    loadConfiguration();
    const DataPointer<Data> child = m_configuration->hasChildAndGet(generalOptionsId);
    if (const auto options = dataCast<ModuleConfig>(child))
        return options;
    if (child)
        (void)m_configuration->removeChild(child.get());
    DataPointer<ModuleConfig> options(new ModuleConfig);
    options->setId(generalOptionsId);
    (void)m_configuration->addChild(options, true);
    return options;
}

void QtAppModuleImpl::preActivate() {
    m_active = true;
    lockView(m_viewLocked);
    setBusyCursor();
}

void QtAppModuleImpl::postActivate() {
    resetCursor();
}

void QtAppModuleImpl::preDeactivate() {
    setBusyCursor();
}

void QtAppModuleImpl::postDeactivate() {
    lockView(false);
    m_active = false;
    resetCursor();
}
