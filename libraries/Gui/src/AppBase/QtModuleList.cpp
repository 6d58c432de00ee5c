#include "AppBase/QtModuleList.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"
#include "Log/vlrLog.h"
#include "Stream/QtStream.h"

#include <algorithm>

namespace {

// More than an application with a step for everything needs; two modules that ask for each other
// would go on for ever.
constexpr int mostRequests = 1000;
// What is enabled and disabled: a listener may do that for all modules, time and again.
constexpr int mostActions = 10 * mostRequests;

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

/// Counts up for as long as it exists; the list may go meanwhile.
class QtModuleList::Depth {
public:
    Depth(QtModuleList* list, int QtModuleList::*depth) : m_list(list), m_depth(depth) {
        ++(list->*depth);
    }
    ~Depth() {
        if (m_list)
            --(m_list->*m_depth);
    }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

private:
    const QPointer<QtModuleList> m_list;
    int QtModuleList::*const m_depth;
};

QtModuleList::QtModuleList(QtAppMainWindow* mainWindow, QObject* parent)
    : QObject(parent), m_mainWindow(mainWindow) {}

QtModuleList::~QtModuleList() {
    // A module that takes the window away now must not take this along a second time.
    setParent(nullptr);
    ++m_switching; // What is asked for from now on is not carried out.
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

void QtModuleList::storeConfigurations() const {
    for (int i = 0; i < count(); ++i)
        if (const auto* const module = proxy(i))
            module->storeConfiguration();
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

// --- registration

bool QtModuleList::isAcceptable(QtAppModule* module) const {
    if (!module || !m_mainWindow)
        return false;
    const bool isKnown = std::any_of(m_proxies.begin(), m_proxies.end(), [module](auto& each) {
        return each && each->module() == module;
    });
    if (isKnown)
        VLR_LOG(Error) << "The module \"" << module->name()
                       << "\" is registered already; registering it again has no effect.";
    return !isKnown;
}

void QtModuleList::warnOfSharedConfiguration(int index) const {
    const QString configuration = proxy(index)->configurationName();
    for (int i = 0; i < index; ++i) {
        if (!isIndex(i) || !proxy(i)->module() || proxy(i)->configurationName() != configuration)
            continue;
        VLR_LOG(Warning) << "The modules \"" << name(i) << "\" and \"" << name(index)
                         << "\" share the configuration \"" << configuration
                         << "\": each replaces what the other stored.";
        return;
    }
}

// Modules, and whoever listens to them, may destroy the list, for example by ending the
// application.
int QtModuleList::registerModule(QtAppModule* module) {
    if (!isAcceptable(module))
        return -1;
    startCounting();
    auto* newProxy = new QtAppModuleProxy(module, m_mainWindow);
    connectModule(module);
    m_proxies.emplace_back(newProxy);
    const int index = count() - 1;
    warnOfSharedConfiguration(index);
    const QPointer<QtModuleList> self = this;
    if (index == 0 && m_currentIndex == -1) {
        const Depth switching(this, &QtModuleList::m_switching);
        if (handleActions() && isIndex(0))
            enter(0);
    }
    if (self)
        handleRequests();
    return index;
}

// --- requests

// Of what an outermost call leads to.
void QtModuleList::startCounting() {
    if (!isIdle())
        return;
    m_handledRequests = 0;
    m_handledActions = 0;
}

void QtModuleList::request(Request request) {
    if (m_requests.empty() && request.target) {
        const int index = request.target();
        if (isIndex(index) && index == m_currentIndex)
            return;
    }
    startCounting();
    if (m_handledRequests >= mostRequests || m_handledActions >= mostActions)
        return;
    m_requests.push_back(std::move(request));
    handleRequests();
}

QtModuleList::Request QtModuleList::takeRequest() {
    Request request = std::move(m_requests.front());
    m_requests.pop_front();
    const int most = request.target ? mostRequests : mostActions;
    if (++(request.target ? m_handledRequests : m_handledActions) == most) {
        VLR_LOG(Error) << "Modules and those who follow them go on asking for one another; after "
                       << most << " requests \"" << currentName() << "\" stays the current module.";
        m_requests.clear();
    }
    return request;
}

void QtModuleList::handleRequests() {
    const QPointer<QtModuleList> self = this;
    while (self && handleActions() && isIdle()) {
        if (!m_requests.empty()) {
            const Depth switching(this, &QtModuleList::m_switching);
            switchTo(takeRequest().target());
        } else if (m_isReplayWanted && m_handledRequests++ < mostRequests) {
            const Depth announcing(this, &QtModuleList::m_announcing);
            m_isReplayWanted = false;
            replay();
        } else {
            break;
        }
    }
}

// Announces new modules, and handles what comes before the next request for a module. False where
// the list did not survive it.
bool QtModuleList::handleActions() {
    const QPointer<QtModuleList> self = this;
    while (self && m_announcing == 0) {
        const Depth announcing(this, &QtModuleList::m_announcing);
        if (m_announcedModules < count()) {
            const int index = m_announcedModules++;
            if (isIndex(index))
                emit registered(name(index), index);
        } else if (!m_requests.empty() && !m_requests.front().target) {
            takeRequest().action();
        } else {
            break;
        }
    }
    return self;
}

bool QtModuleList::isOtherModuleRequested() const {
    if (m_requests.empty() || !m_requests.front().target)
        return false;
    const int index = m_requests.front().target();
    return isIndex(index) && index != m_currentIndex;
}

// What was asked for while the current module was left, otherwise the index itself.
int QtModuleList::laterTarget(int index, bool mayBeNone) {
    while (!m_requests.empty() && m_requests.front().target) {
        const int later = m_requests.front().target();
        if (!mayBeNone && !isIndex(later))
            break;
        (void)takeRequest();
        if (later != m_currentIndex)
            return later;
    }
    return index;
}

// --- what is carried out

void QtModuleList::switchTo(int index) {
    if (isIndex(index) && index == m_currentIndex)
        return;
    if (isIndex(index) && isIndex(m_currentIndex)) {
        const bool isNothingWaiting = m_requests.empty();
        // One that nobody heard of must not stay the current module without a word.
        const bool isAnnounced = m_announcedIndex == m_currentIndex;
        if (!leave(m_currentIndex))
            return;
        if (isNothingWaiting)
            index = laterTarget(index, isAnnounced);
    }
    if (isIndex(index))
        enter(index);
    else
        leaveAll();
}

// A module that asks for another one meanwhile is not announced: it is left at once.
void QtModuleList::enter(int index) {
    const QPointer<QtModuleList> self = this;
    m_currentIndex = index;
    proxy(index)->activate();
    if (!self || !isIndex(index) || isOtherModuleRequested())
        return;
    m_announcedIndex = index;
    if (announce([&] { emit activated(name(index), index); }) && isIndex(index) &&
        !isOtherModuleRequested())
        announce([&] { emit activated(proxy(index)); });
}

// False where the list did not survive it.
bool QtModuleList::leave(int index) {
    const QPointer<QtModuleList> self = this;
    const QString moduleName = name(index);
    proxy(index)->deactivate();
    if (!self)
        return false;
    return announce([&] { emit deactivated(moduleName, index); });
}

void QtModuleList::leaveAll() {
    for (int i = 0; i < count(); ++i)
        if (isIndex(i) && !leave(i))
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

// False where the list did not survive it. What the listeners enable and disable is done before
// anything else goes on.
bool QtModuleList::announce(const std::function<void()>& tell) {
    const QPointer<QtModuleList> self = this;
    {
        const Depth announcing(this, &QtModuleList::m_announcing);
        tell();
    }
    return self && handleActions();
}

// --- interface

void QtModuleList::activate(int index) {
    request({[index] { return index; }, nullptr});
}

void QtModuleList::activate(QString name) {
    if (findIndex(name) < 0)
        VLR_LOG(Warning) << "There is no module \"" << name
                         << "\" to activate, so the active one is left.";
    request({[this, name] { return findIndex(name); }, nullptr});
}

void QtModuleList::next() {
    request({[this] { return m_currentIndex + 1; }, nullptr});
}

void QtModuleList::previous() {
    request({[this] { return m_currentIndex - 1; }, nullptr});
}

void QtModuleList::deactivateAll() {
    request({[] { return -1; }, nullptr});
}

void QtModuleList::enableModule(int index) {
    request({nullptr, [this, index] { setModuleEnabled(index, true); }});
}

void QtModuleList::enableModule(QString name) {
    request({nullptr, [this, name] { setModuleEnabled(findIndex(name), true); }});
}

void QtModuleList::disableModule(int index) {
    request({nullptr, [this, index] { setModuleEnabled(index, false); }});
}

void QtModuleList::disableModule(QString name) {
    request({nullptr, [this, name] { setModuleEnabled(findIndex(name), false); }});
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
    startCounting();
    m_isReplayWanted = true;
    handleRequests();
}

// A module that a listener registers meanwhile is announced afterwards.
void QtModuleList::replay() {
    const QPointer<QtModuleList> self = this;
    for (int i = 0; self && i < m_announcedModules; ++i) {
        if (!isIndex(i))
            continue;
        emit registered(name(i), i);
        if (self && isIndex(i) && !proxy(i)->isEnabled())
            emit disabled(name(i), i);
    }
    if (self && isIndex(m_currentIndex))
        emit activated(name(m_currentIndex), m_currentIndex);
    if (self && isIndex(m_currentIndex))
        emit activated(proxy(m_currentIndex));
}
