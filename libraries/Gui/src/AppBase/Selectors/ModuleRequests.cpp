#include "AppBase/Selectors/ModuleRequests.h"

#include "AppBase/QtModuleSelector.h"

#include <QtCore/QCoreApplication>

namespace {

using Request = ApplicationServices::Request;

const ModuleRequest requests[moduleRequestCount] = {
    {"Screenshot", QT_TRANSLATE_NOOP("ModuleRequest", "Create Screenshot"),
     SIGNAL(screenShotRequestSGN()), Request::Screenshot},
    {"Configure", QT_TRANSLATE_NOOP("ModuleRequest", "Application Configuration"),
     SIGNAL(configRequestSGN()), Request::Configuration},
    {"ConfigureFileEditor",
     QT_TRANSLATE_NOOP("ModuleRequest", "Launch Application Configuration File Editor"),
     SIGNAL(configFileEditorRequestSGN()), Request::SettingsEditor},
    {"Exit", QT_TRANSLATE_NOOP("ModuleRequest", "Quit Application"), SIGNAL(exitRequestSGN()),
     Request::Exit},
};

} // namespace

const ModuleRequest& moduleRequest(int index) {
    return requests[index];
}

QString moduleRequestToolTip(int index) {
    return QCoreApplication::translate("ModuleRequest", requests[index].toolTip);
}

void connectModuleRequest(QtModuleSelector* selector, int index) {
    if (auto* const services = ApplicationServices::instance())
        services->connectRequest(selector, requests[index].selectorSignal, requests[index].request);
}

bool isModuleRequestAnswered(int index) {
    const auto* const services = ApplicationServices::instance();
    return services && services->isRequestAnswered(requests[index].request);
}

void followModuleRequests(QtModuleSelector* selector, const char* slot) {
    if (auto* const services = ApplicationServices::instance())
        services->connectRequestsChanged(selector, slot);
}
