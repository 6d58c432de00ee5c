#include "AppBase/QtAppModule.h"

#include "AppBase/QtAppModuleImpl.h"
#include "Base/VerifiedConnection.h"

#include <QtWidgets/QWidget>

#include <memory>

namespace {

// The place that service staff know these failures by; it does not follow the file.
const char* const assertionSource = "..\\..\\..\\libraries\\Gui\\src\\AppBase\\QtAppModule";

} // namespace

#define VLR_VERIFY(line, expression)                                                               \
    vlr::verify(static_cast<bool>(expression), #expression, assertionSource, line)

QtAppModule::QtAppModule(QString name, bool lockView)
    : m_impl(new QtAppModuleImpl(name, lockView)), m_contextWidget(new QWidget) {
    // The destructor does not run when a connection fails.
    std::unique_ptr<QtAppModuleImpl> impl(m_impl);
    std::unique_ptr<QWidget> contextWidget(m_contextWidget);

    // By name, so that the text that reports a failure names both ends.
    // clang-format off
    VLR_VERIFY(45, connect(m_impl, SIGNAL(activateNextModule()), this, SIGNAL(activateNextModule())));
    VLR_VERIFY(46, connect(m_impl, SIGNAL(activatePrevModule()), this, SIGNAL(activatePrevModule())));
    VLR_VERIFY(47, connect(m_impl, SIGNAL(activateModule(QString)), this, SIGNAL(activateModule(QString))));
    VLR_VERIFY(48, connect(m_impl, SIGNAL(deactivateAllModules()), this, SIGNAL(deactivateAllModules())));
    VLR_VERIFY(49, connect(m_impl, SIGNAL(enableModule(QString)), this, SIGNAL(enableModule(QString))));
    VLR_VERIFY(50, connect(m_impl, SIGNAL(disableModule(QString)), this, SIGNAL(disableModule(QString))));
    VLR_VERIFY(51, connect(m_impl, SIGNAL(controlAreaSize(int)), this, SIGNAL(controlAreaSize(int))));
    VLR_VERIFY(52, connect(m_impl, SIGNAL(enableTouchScreenMode(bool)), this, SIGNAL(enableTouchScreenMode(bool))));
    // clang-format on

    (void)impl.release();
    (void)contextWidget.release();
}

QtAppModule::~QtAppModule() {
    delete m_impl;
    // A context widget belongs to the window that took it. One that nobody took or shows is
    // nobody's.
    if (m_contextWidget && !m_contextWidget->parentWidget() && !m_contextWidget->isVisible())
        delete m_contextWidget.data();
}

QWidget* QtAppModule::getWidget() {
    return m_contextWidget;
}

QWidget* QtAppModule::getMainWidget() {
    return nullptr;
}

QString QtAppModule::name() {
    return m_impl->name();
}

Data* QtAppModule::configuration() const {
    return m_impl->configuration().get();
}

void QtAppModule::setConfiguration(Data* configuration) {
    m_impl->setConfiguration(configuration);
}

bool QtAppModule::isActive() const {
    return m_impl->isActive();
}

bool QtAppModule::isViewLocked() const {
    return m_impl->isViewLocked();
}

void QtAppModule::setViewLocked(bool locked) {
    m_impl->setViewLocked(locked);
}
