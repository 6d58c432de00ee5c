#include "AppBase/QtModuleList.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"
#include "Log/vlrLog.h"
#include "Stream/QtStream.h"

namespace {

struct ModuleConnection {
    const char* signal;
    const char* slot;
};

// By name: a derived module's signals are found whatever class declares them.
const ModuleConnection toList[] = {
    {SIGNAL(activateNextModule()), SLOT(next())},
    {SIGNAL(activatePrevModule()), SLOT(previous())},
    {SIGNAL(activateModule(QString)), SLOT(activate(QString))},
    {SIGNAL(deactivateAllModules()), SLOT(deactivateAll())},
    {SIGNAL(enableModule(QString)), SLOT(enableModule(QString))},
    {SIGNAL(disableModule(QString)), SLOT(disableModule(QString))},
};
const ModuleConnection toWindow[] = {
    {SIGNAL(controlAreaSize(int)), SLOT(setControlAreaSize(int))},
    {SIGNAL(enableTouchScreenMode(bool)), SLOT(setTouchScreenMode(bool))},
};

} // namespace

QtModuleList::QtModuleList(QtAppMainWindow* mainWindow, QObject* parent)
    : QObject(parent), m_mainWindow(mainWindow) {}

QtModuleList::~QtModuleList() {
    // A module that takes the window away now must not take this along a second time.
    setParent(nullptr);
    // A module may register another one even while it is deactivated.
    for (int i = 0; i < count(); ++i) {
        const QPointer<QtAppModuleProxy> proxy = this->proxy(i);
        if (!proxy)
            continue;
        disconnectModule(i);
        proxy->deactivate();
        if (proxy)
            proxy->storeConfiguration();
        delete proxy.data();
    }
}

bool QtModuleList::isIndex(int index) const {
    return index >= 0 && index < count() && proxy(index);
}

QtAppModuleProxy* QtModuleList::proxy(int index) const {
    return m_proxies[static_cast<std::size_t>(index)];
}

QString QtModuleList::name(int index) const {
    return proxy(index)->moduleName();
}

int QtModuleList::findIndex(QString name) const {
    for (int i = 0; i < count(); ++i)
        if (isIndex(i) && proxy(i)->moduleName() == name)
            return i;
    return -1;
}

void QtModuleList::connectModule(QtAppModule* module) {
    std::vector<QMetaObject::Connection>& connections = m_connections.emplace_back();
    for (const ModuleConnection& connection : toList)
        connections.push_back(connect(module, connection.signal, this, connection.slot));
    for (const ModuleConnection& connection : toWindow)
        connections.push_back(connect(module, connection.signal, m_mainWindow, connection.slot));
}

void QtModuleList::disconnectModule(int index) {
    for (const QMetaObject::Connection& connection : m_connections[static_cast<std::size_t>(index)])
        disconnect(connection);
}

// Modules, and whoever listens to them, may destroy the list, for example by ending the
// application.
int QtModuleList::registerModule(QtAppModule* module) {
    if (!module || !m_mainWindow)
        return -1;
    auto* newProxy = new QtAppModuleProxy(module, m_mainWindow);
    connectModule(module);
    m_proxies.emplace_back(newProxy);
    const int index = count() - 1;
    const QPointer<QtModuleList> self = this;
    emit registered(newProxy->moduleName(), index);
    if (self && index == 0 && m_currentIndex == -1 && isIndex(0))
        activateProxy(0);
    return index;
}

void QtModuleList::activateProxy(int index) {
    const QPointer<QtModuleList> self = this;
    m_currentIndex = index;
    proxy(index)->activate();
    if (self)
        announceActivation(index);
}

// A module may ask for another one while it is being activated; then the other one was
// announced already and is the current one.
void QtModuleList::announceActivation(int index) {
    if (m_currentIndex != index || !isIndex(index))
        return;
    const QPointer<QtModuleList> self = this;
    emit activated(name(index), index);
    if (self && m_currentIndex == index && isIndex(index))
        emit activated(proxy(index));
}

// False where the list did not survive it.
bool QtModuleList::deactivateProxy(int index) {
    const QPointer<QtModuleList> self = this;
    const QString moduleName = name(index);
    proxy(index)->deactivate();
    if (self)
        emit deactivated(moduleName, index);
    return self;
}

void QtModuleList::activate(int index) {
    if (!isIndex(index)) {
        deactivateAll();
        return;
    }
    if (index == m_currentIndex)
        return;
    if (isIndex(m_currentIndex)) {
        const int oldIndex = m_currentIndex;
        // Whoever was told may have asked for another module meanwhile; then that stands.
        if (!deactivateProxy(oldIndex) || m_currentIndex != oldIndex || !isIndex(index))
            return;
    }
    activateProxy(index);
}

void QtModuleList::activate(QString name) {
    const int index = findIndex(name);
    if (index < 0)
        VLR_LOG(Warning) << "There is no module \"" << name
                         << "\" to activate, so the active one is left.";
    activate(index);
}

void QtModuleList::next() {
    activate(m_currentIndex + 1);
}

void QtModuleList::previous() {
    activate(m_currentIndex - 1);
}

void QtModuleList::deactivateAll() {
    for (int i = 0; i < count(); ++i)
        if (isIndex(i) && !deactivateProxy(i))
            return;
    if (m_mainWindow)
        m_mainWindow->raiseContextWidget(0);
}

// The guard asks for a current module, not for the index: modules are enabled and disabled
// while the workflow runs.
void QtModuleList::setModuleEnabled(int index, bool enable) {
    if (!isIndex(m_currentIndex) || !isIndex(index))
        return;
    const QPointer<QtModuleList> self = this;
    proxy(index)->setEnabled(enable);
    if (!self || !isIndex(index))
        return;
    if (enable)
        emit enabled(name(index), index);
    else
        emit disabled(name(index), index);
}

void QtModuleList::enableModule(int index) {
    setModuleEnabled(index, true);
}

void QtModuleList::enableModule(QString name) {
    enableModule(findIndex(name));
}

void QtModuleList::disableModule(int index) {
    setModuleEnabled(index, false);
}

void QtModuleList::disableModule(QString name) {
    disableModule(findIndex(name));
}

int QtModuleList::currentIndex() {
    return m_currentIndex;
}

QString QtModuleList::currentName() {
    return isIndex(m_currentIndex) ? name(m_currentIndex) : QString();
}

const QtAppModuleProxy* QtModuleList::currentModuleProxy() const {
    return isIndex(m_currentIndex) ? proxy(m_currentIndex) : nullptr;
}

void QtModuleList::generateEvents() {
    const QPointer<QtModuleList> self = this;
    for (int i = 0; self && i < count(); ++i) {
        if (!isIndex(i))
            continue;
        emit registered(name(i), i);
        if (self && isIndex(i) && !proxy(i)->isEnabled())
            emit disabled(name(i), i);
    }
    if (self)
        announceActivation(m_currentIndex);
}
