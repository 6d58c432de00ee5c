#include "AppBase/AppBase.h"

#include "AppBase/AppBaseImpl.h"

#include <QtCore/QPointer>

const char* const AppBase::CURRENT_PATIENT_CHANGED = "AppBase::CURRENT_PATIENT_CHANGED";
const char* const AppBase::CURRENT_STUDY_CHANGED = "AppBase::CURRENT_STUDY_CHANGED";
const char* const AppBase::CURRENT_DATA_ITEM_CHANGED = "AppBase::CURRENT_DATA_ITEM_CHANGED";
const char* const AppBase::TOUCH_SCREEN_MODE_ON = "AppBase::TOUCH_SCREEN_MODE_ON";
// The same text on purpose: observers written against it refresh at either change.
const char* const AppBase::TOUCH_SCREEN_MODE_OFF = "AppBase::TOUCH_SCREEN_MODE_ON";

AppBase* AppBase::m_instance = nullptr;

AppBase::AppBase(int& argc, char** argv, AppBaseImpl* impl, bool useConfiguration, bool forceSplash)
    : m_impl(impl ? impl : new AppBaseImpl(argc, argv, useConfiguration, forceSplash)) {
    m_instance = this;
    // To the instance, whichever that is by then.
    connect(m_impl, &AppBaseImpl::currentPatientChanged, &AppBase::sendCurrentPatientChangedEvent);
    connect(m_impl, &AppBaseImpl::currentStudyChanged, &AppBase::sendCurrentStudyChangedEvent);
    connect(m_impl, &AppBaseImpl::currentDataItemChanged,
            &AppBase::sendCurrentDataItemChangedEvent);
    connect(m_impl, &AppBaseImpl::touchScreenModeOn, &AppBase::sendTouchScreenModeOnEvent);
    connect(m_impl, &AppBaseImpl::touchScreenModeOff, &AppBase::sendTouchScreenModeOffEvent);
    connect(m_impl, &AppBaseImpl::splashClosed, &AppBase::sendSplashClosedEvent);
}

AppBase::~AppBase() {
    delete m_impl;
    m_impl = nullptr;
    if (m_instance == this)
        m_instance = nullptr;
}

AppBase* AppBase::instance() {
    return m_instance;
}

int AppBase::run() {
    return m_impl->run();
}

bool AppBase::addModule(QtAppModule* module) {
    return m_impl->addModule(module);
}

void AppBase::setModuleSelector(QtModuleSelector* selector) {
    m_impl->setModuleSelector(selector);
}

void AppBase::setApplicationIdentification(const QString& title, const QIcon& icon,
                                           const QString& iconText) {
    m_impl->setApplicationIdentification(title, icon, iconText);
}

void AppBase::launchSplashScreen() {
    m_impl->launchSplashScreen();
}

void AppBase::setTouchScreenModeEnabled(bool enabled) {
    m_impl->setTouchScreenModeEnabled(enabled);
}

// --- slots; they may still be called while the implementation goes down

QtAppMainWindow* AppBase::getMainWindow() {
    return m_impl ? m_impl->getMainWindow() : nullptr;
}

void AppBase::activateModule(QString name) {
    m_impl->activateModule(name);
}

void AppBase::exitApplication() {
    m_impl->exitApplication();
}

void AppBase::requestScreenshot() {
    m_impl->showScreenShotDialog();
}

void AppBase::requestSystemConfig() {
    m_impl->showConfigFileEditorDialog();
}

void AppBase::requestPatientViewer() {}

// --- current items

namespace {

template <class Result, class Ask>
Result askInstance(AppBaseImpl* impl, Ask ask) {
    return impl ? ask(*impl) : Result();
}

} // namespace

DataPointer<Patient> AppBase::getCurrentPatient() {
    return askInstance<DataPointer<Patient>>(m_instance ? m_instance->m_impl : nullptr,
                                             [](auto& impl) { return impl.currentPatient(); });
}

DataPointer<Study> AppBase::getCurrentStudy() {
    return askInstance<DataPointer<Study>>(m_instance ? m_instance->m_impl : nullptr,
                                           [](auto& impl) { return impl.currentStudy(); });
}

DataPointer<Data> AppBase::getCurrentDataItem() {
    return askInstance<DataPointer<Data>>(m_instance ? m_instance->m_impl : nullptr,
                                          [](auto& impl) { return impl.currentDataItem(); });
}

void AppBase::setCurrentPatient(DataPointer<Patient> patient) {
    if (m_instance && m_instance->m_impl)
        m_instance->m_impl->setCurrentPatient(patient);
}

void AppBase::setCurrentStudy(DataPointer<Study> study) {
    if (m_instance && m_instance->m_impl)
        m_instance->m_impl->setCurrentStudy(study);
}

void AppBase::setCurrentDataItem(DataPointer<Data> item) {
    if (m_instance && m_instance->m_impl)
        m_instance->m_impl->setCurrentDataItem(item);
}

void AppBase::setBusyCursor() {
    if (m_instance && m_instance->m_impl)
        m_instance->m_impl->setBusyCursor();
}

void AppBase::resetCursor() {
    if (m_instance && m_instance->m_impl)
        m_instance->m_impl->resetCursor();
}

CaError AppBase::getPatientList(std::vector<Patient*>& patients) {
    return AppBaseImpl::getPatientList(patients);
}

// --- announcements

void AppBase::sendEvent(const char* event, void (AppBase::*signal)()) {
    const QPointer<AppBase> application = m_instance;
    if (application)
        application->notify(event, nullptr);
    if (application)
        emit(application->*signal)();
}

void AppBase::sendCurrentPatientChangedEvent() {
    sendEvent(CURRENT_PATIENT_CHANGED, &AppBase::currentPatientChanged);
}

void AppBase::sendCurrentStudyChangedEvent() {
    sendEvent(CURRENT_STUDY_CHANGED, &AppBase::currentStudyChanged);
}

void AppBase::sendCurrentDataItemChangedEvent() {
    sendEvent(CURRENT_DATA_ITEM_CHANGED, &AppBase::currentDataItemChanged);
}

void AppBase::sendTouchScreenModeOnEvent() {
    sendEvent(TOUCH_SCREEN_MODE_ON, &AppBase::touchScreenModeOn);
}

void AppBase::sendTouchScreenModeOffEvent() {
    sendEvent(TOUCH_SCREEN_MODE_OFF, &AppBase::touchScreenModeOff);
}

void AppBase::sendSplashClosedEvent() {
    if (m_instance)
        emit m_instance->splashClosed();
}
