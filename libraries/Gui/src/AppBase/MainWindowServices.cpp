#include "AppBase/MainWindowServices.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/vlrControlList.h"

namespace vlr {

namespace {

// By name: the window's exit request is a protected slot, meant for its own button and this.
const char* memberFor(ApplicationServices::Request request) {
    switch (request) {
    case ApplicationServices::Request::Screenshot:
        return SIGNAL(screenShotRequest());
    case ApplicationServices::Request::Configuration:
        return SIGNAL(configRequest());
    case ApplicationServices::Request::SettingsEditor:
        return SIGNAL(configFileEditorRequest());
    case ApplicationServices::Request::Exit:
        break;
    }
    return SLOT(exitRequest());
}

} // namespace

void MainWindowServices::showControls() {
    if (QtAppMainWindow* const window = getMainWindow())
        window->occupyWindow(ControlList::instance());
}

void MainWindowServices::showMainWidget(QWidget* widget) {
    if (QtAppMainWindow* const window = getMainWindow())
        window->occupyWindow(nullptr, widget);
}

void MainWindowServices::connectRequest(QObject* sender, const char* signal, Request request) {
    if (QtAppMainWindow* const window = getMainWindow())
        QObject::connect(sender, signal, window, memberFor(request));
}

bool MainWindowServices::isRequestAnswered(Request request) const {
    const QtAppMainWindow* const window = getMainWindow();
    return window && window->isRequestAnswered(memberFor(request));
}

void MainWindowServices::connectRequestsChanged(QObject* receiver, const char* slot) {
    if (QtAppMainWindow* const window = getMainWindow())
        QObject::connect(window, SIGNAL(requestsChanged()), receiver, slot);
}

void MainWindowServices::setBusyCursor() {
    if (QtAppMainWindow* const window = getMainWindow())
        window->setCursor(QCursor(Qt::WaitCursor));
}

void MainWindowServices::resetCursor() {
    if (QtAppMainWindow* const window = getMainWindow())
        window->unsetCursor();
}

} // namespace vlr
