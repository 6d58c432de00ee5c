// The one thing that a proxy has to do with the window: it is made in it. Apart from the rest,
// which the window's own parts use.
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"

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
