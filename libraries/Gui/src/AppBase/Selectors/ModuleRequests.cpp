#include "AppBase/Selectors/ModuleRequests.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtModuleSelector.h"
#include "Base/ApplicationServices.h"

#include <QtCore/QCoreApplication>

namespace {

const ModuleRequest requests[moduleRequestCount] = {
    {"Screenshot", QT_TRANSLATE_NOOP("ModuleRequest", "Create Screenshot"),
     SIGNAL(screenShotRequestSGN()), SIGNAL(screenShotRequest())},
    {"Configure", QT_TRANSLATE_NOOP("ModuleRequest", "Application Configuration"),
     SIGNAL(configRequestSGN()), SIGNAL(configRequest())},
    {"ConfigureFileEditor",
     QT_TRANSLATE_NOOP("ModuleRequest", "Launch Application Configuration File Editor"),
     SIGNAL(configFileEditorRequestSGN()), SIGNAL(configFileEditorRequest())},
    {"Exit", QT_TRANSLATE_NOOP("ModuleRequest", "Quit Application"), SIGNAL(exitRequestSGN()),
     SLOT(exitRequest())},
};

QtAppMainWindow* mainWindow() {
    auto* services = ApplicationServices::instance();
    return services ? services->getMainWindow() : nullptr;
}

} // namespace

const ModuleRequest& moduleRequest(int index) {
    return requests[index];
}

QString moduleRequestToolTip(int index) {
    return QCoreApplication::translate("ModuleRequest", requests[index].toolTip);
}

void connectModuleRequest(QtModuleSelector* selector, int index) {
    // By name: the window's exit request is a protected slot, meant for its own button and this.
    if (QtAppMainWindow* window = mainWindow())
        QObject::connect(selector, requests[index].selectorSignal, window,
                         requests[index].windowMember);
}

bool isModuleRequestAnswered(int index) {
    const QtAppMainWindow* window = mainWindow();
    return window && window->isRequestAnswered(requests[index].windowMember);
}
