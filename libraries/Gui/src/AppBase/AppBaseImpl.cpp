#include "AppBase/AppBaseImpl.h"

#include "AppBase/Dialogs/QtAppBaseConfigWidget.h"
#include "AppBase/Dialogs/QtConfigDialog.h"
#include "AppBase/Dialogs/QtScreenShotDialog.h"
#include "AppBase/Dialogs/RecoveryOffer.h"
#include "AppBase/Dialogs/SplashScreen.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtApplication.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/QtScreenShotData.h"
#include "AppBase/SelectorConnections.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "AppBase/Translations.h"
#include "AppBase/WayOut.h"
#include "AppBase/WindowShowMode.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtMessageBoxLogger.h"
#include "Files/UserFolders.h"
#include "IO/DataIOManager.h"
#include "IO/RecoveryFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QFileInfo>
#include <QtCore/QTimer>
#include <QtGui/QIcon>

#include <cstdlib>
#include <iostream>

namespace {

constexpr int forcedSplashMilliseconds = 2500;

const vlr::SettingKey<bool> progressBarFlushX(
    "Velora/Application/ProgressBarFlushX", false,
    QT_TRANSLATE_NOOP("KnownSettings", "Flush what was painted when a progress dialog opens."));
const vlr::SettingKey<bool> progressBarSyncX(
    "Velora/Application/ProgressBarSyncX", false,
    QT_TRANSLATE_NOOP("KnownSettings", "Kept for the progress dialog; without effect today."));

// What is being destroyed is not used any more: modules and widgets that ask for something as they
// go find it gone, not half of it.
template <class T>
void destroy(QPointer<T>& owned) {
    T* const object = owned.data();
    owned = nullptr;
    delete object;
}

// Without a place for them, patients would be stored where nobody finds them, or not at all, which
// is to be known before anything is typed.
void demandUserFolders() {
    const CaError error = vlr::checkUserFolders();
    if (error.isNull())
        return;
    std::cerr << error.text() << std::endl;
    std::exit(EXIT_FAILURE);
}

} // namespace

const vlr::SettingKey<QString> vlr::windowShowMode(
    "Velora/Application/WindowShowMode", QStringLiteral("normal"),
    QT_TRANSLATE_NOOP("KnownSettings", "How the main window appears at start-up."),
    vlr::choiceType({QStringLiteral("minimized"), QStringLiteral("normal"),
                     QStringLiteral("maximized"), QStringLiteral("fullscreen")},
                    true),
    QT_TRANSLATE_NOOP("KnownSettings",
                      "The main window does not appear at start-up, and the log says so."));

AppBaseImpl::AppBaseImpl(int& argc, char** argv, bool useConfiguration, bool forceSplash)
    : m_currentItems([this](CurrentItems::Item item) { announce(item); }),
      m_useConfiguration(useConfiguration),
      m_configurationId(QStringLiteral("AppBaseConfiguration")),
      m_configurationName(QStringLiteral("AppBase")) {
    createApplication(argc, argv);
    prepareWayOut();
    if (m_useConfiguration)
        registerConfiguration();
    initSplashScreen(forceSplash);
    showSplashScreenMessage(tr("Reading configuration..."));
    loadConfiguration();
    showSplashScreenMessage(tr("Setting up main window..."));
    createMainWindow();
    m_config->attach(Data::CHANGED, this, &AppBaseImpl::reconfigure);
    // QSplashScreen::finish() waits for the window, which is shown only by run().
    m_splashGoesWithWindow = SplashScreen::milliseconds() == 0 && !forceSplash && m_splashScreen;
    m_mainWindow->installEventFilter(this);
}

AppBaseImpl::~AppBaseImpl() {
    m_config->detach(this);
    m_isLeaving = true;
    destroy(m_moduleList);
    destroy(m_splashScreen);
    destroy(m_mainWindow);
    m_messageBoxes = {};
    m_wayOut.reset();
    delete m_application;
}

void AppBaseImpl::createApplication(int& argc, char** argv) {
    demandUserFolders();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    m_application = new QtApplication(argc, argv);
    const QString name = QFileInfo(QCoreApplication::applicationFilePath()).baseName();
    if (!name.isEmpty())
        QCoreApplication::setApplicationName(name);
    vlr::installTranslations(m_application);
    setLogStreams();
    connect(m_application, &QtApplication::unixSignal, this, &AppBaseImpl::unixSignalHandler);
    connect(m_application, &QtApplication::terminationRequested, this, &AppBaseImpl::terminate);
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

void AppBaseImpl::prepareWayOut() {
    m_wayOut =
        std::make_unique<vlr::WayOut>([this](bool hasDisplay) { storeConfigurations(hasDisplay); },
                                      [this] { return currentPatient(); });
    // Qt would close the windows one by one, which ask whether to exit.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    const auto secure = [this] { m_wayOut->secure(); };
    connect(m_application, &QGuiApplication::commitDataRequest, this, secure);
    connect(m_application, &QGuiApplication::saveStateRequest, this, secure);
}

bool AppBaseImpl::isLeaving() const {
    return m_isLeaving || (m_wayOut && m_wayOut->isSecuring());
}

// What the program has to say to its user pops up; the log file has it as well.
void AppBaseImpl::setLogStreams() {
    const vlr::LogLevel levels[] = {vlr::LogLevel::UserInfo, vlr::LogLevel::UserWarning,
                                    vlr::LogLevel::UserError};
    for (std::size_t kind = 0; kind < m_messageBoxes.size(); ++kind) {
        m_messageBoxes[kind] =
            std::make_unique<QtMessageBoxLogger>(static_cast<int>(kind), m_mainWindow);
        vlr::Log::setOStream(levels[kind], m_messageBoxes[kind].get());
        vlr::Log::setPrefix(levels[kind], 0);
    }
}

void AppBaseImpl::registerConfiguration() {
    createAppBaseConfigFactory();
    createQtAppBaseConfigWidgetFactory();
    linkDataToWidget(AppBaseConfig::className, "QtAppBaseConfigWidget", "Application Configuration",
                     DataFactory::configurationRecord, "");
}

void AppBaseImpl::loadConfiguration() {
    createMainWindowConfigFactory();
    createQuadViewConfigFactory();
    createWindowPlaceFactory();
    createQtScreenShotDataFactory();
    const DataPointer<Configuration> container(new Configuration);
    if (m_useConfiguration) {
        DataIOManager::sweepTemporaryFiles();
        (void)DataIOManager::loadConfiguration(m_configurationName, container);
        m_config = dataCast<AppBaseConfig>(container->hasChildAndGet(m_configurationId));
    }
    if (m_config) {
        (void)container->removeChild(m_config.get());
        return;
    }
    m_config = DataPointer<AppBaseConfig>(new AppBaseConfig);
    m_config->setId(m_configurationId);
}

void AppBaseImpl::createMainWindow() {
    m_mainWindow = new QtAppMainWindow(m_config->mainWindowConfig(), nullptr, Qt::Window);
    // A guarded pointer forgets it too late: context widgets may ask for it as they go.
    connect(m_mainWindow, &QtAppMainWindow::aboutToGo, this, [this] { m_mainWindow.clear(); });
    m_moduleList = new QtModuleList(m_mainWindow, m_mainWindow);
    connect(m_moduleList, QOverload<const QtAppModuleProxy*>::of(&QtModuleList::activated),
            m_mainWindow, &QtAppMainWindow::moduleActivated);
    showSplashScreenMessage(tr("Initializing..."));
    m_mainWindow->setSecondaryLayoutDirection(m_config->mainWindowConfig()->innerLayoutDirection());
    QtCaProgressMonitor::setFlushX(progressBarFlushX.get());
    QtCaProgressMonitor::setSyncX(progressBarSyncX.get());
    QtCaProgressMonitor::attach(m_mainWindow);
    connect(m_mainWindow, &QtAppMainWindow::configRequest, this, &AppBaseImpl::showConfigDialog);
    connect(m_mainWindow, &QtAppMainWindow::configFileEditorRequest, this,
            &AppBaseImpl::showConfigFileEditorDialog);
    connect(m_mainWindow, &QtAppMainWindow::screenShotRequest, this,
            &AppBaseImpl::showScreenShotDialog);
    connect(m_mainWindow, &QtAppMainWindow::exitApplication, this, &AppBaseImpl::exitApplication);
}

// --- splash screen

void AppBaseImpl::initSplashScreen(bool force) {
    destroy(m_splashScreen);
    m_splashGoesWithWindow = false;
    if (!SplashScreen::isWanted() && !force)
        return;
    m_splashScreen = new SplashScreen;
    m_splashScreen->show();
    const int delay = force ? forcedSplashMilliseconds : SplashScreen::milliseconds();
    if (delay != 0)
        QTimer::singleShot(delay, m_splashScreen, [this] { splashCloseSL(); });
}

void AppBaseImpl::finishSplashScreen() {
    if (m_splashScreen && m_splashGoesWithWindow)
        m_splashScreen->finish(m_mainWindow);
    m_splashGoesWithWindow = false;
}

bool AppBaseImpl::eventFilter(QObject* watched, QEvent* event) {
    // The event comes before the window is on the screen.
    if (event->type() == QEvent::Show && watched == m_mainWindow)
        QTimer::singleShot(0, this, &AppBaseImpl::finishSplashScreen);
    return QObject::eventFilter(watched, event);
}

void AppBaseImpl::launchSplashScreen() {
    initSplashScreen(true);
}

void AppBaseImpl::splashCloseSL() {
    if (m_splashScreen)
        m_splashScreen->close();
    emit splashClosed();
}

void AppBaseImpl::showSplashScreenMessage(const QString& text) {
    if (m_splashScreen)
        m_splashScreen->tell(text);
}

// --- running

void AppBaseImpl::setShowMode() {
    if (!m_mainWindow)
        return;
    const QString setting = vlr::windowShowMode.get();
    m_appliedShowMode = setting;
    const QString mode = setting.toLower();
    if (mode == QLatin1String("minimized"))
        m_mainWindow->showMinimized();
    else if (mode == QLatin1String("normal"))
        m_mainWindow->showNormal();
    else if (mode == QLatin1String("maximized"))
        m_mainWindow->showMaximized();
    else if (mode == QLatin1String("fullscreen"))
        m_mainWindow->showFullScreen();
    else
        VLR_LOG(Warning) << "The setting \"Velora/Application/WindowShowMode\" is \"" << setting
                         << "\", not minimized, normal, maximized or fullscreen. Nothing is shown.";
    m_mainWindow->raise();
}

int AppBaseImpl::run() {
    if (!m_exitRequested)
        m_wayOut->giveUp(); // What ended a former run.
    offerRecoveries();
    if (m_mainWindow) {
        m_mainWindow->activateWindow();
        m_mainWindow->raise();
        m_mainWindow->restorePlace();
    }
    setShowMode();
    // A window that is not shown must not leave the splash screen behind.
    if (m_mainWindow && !m_mainWindow->isVisible())
        finishSplashScreen();
    setTouchScreenModeEnabled(m_config->isTouchScreenModeEnabled());
    if (m_mainWindow)
        m_mainWindow->restoreControlArea();
    // Somebody may have asked to leave before there was a loop to leave.
    m_isLeaving = m_exitRequested;
    if (!m_exitRequested)
        (void)QApplication::exec();
    m_isLeaving = true;
    // Somebody may have ended the loop without a word to this object, as a session's end does.
    if (!m_exitRequested)
        m_wayOut->leave();
    m_exitRequested = false;
    if (m_mainWindow)
        m_mainWindow->rememberPlace();
    if (m_useConfiguration)
        (void)storeConfiguration("run");
    return 0;
}

// Before the window shows the patients as they are stored.
void AppBaseImpl::offerRecoveries() {
    if (m_exitRequested || vlr::waitingRecoveries().isEmpty())
        return;
    if (m_splashScreen)
        m_splashScreen->hide(); // It would cover the question.
    vlr::offerRecoveries(m_mainWindow);
}

void AppBaseImpl::storeConfigurations(bool hasDisplay) {
    if (hasDisplay && m_mainWindow)
        m_mainWindow->rememberPlace();
    if (m_useConfiguration && m_config)
        (void)storeConfiguration("storeConfigurations");
    if (m_moduleList)
        m_moduleList->storeConfigurations();
}

CaError AppBaseImpl::storeConfiguration(const char* caller) {
    const DataPointer<Configuration> container(new Configuration);
    container->setId(m_configurationId);
    (void)container->addChild(m_config, true);
    const CaError error = DataIOManager::storeConfiguration(m_configurationName, container);
    if (error != CaError::nullError)
        VLR_LOG(Error) << "AppBaseImpl::" << caller << "(): "
                       << "Could not store configuration. Reason: " << error;
    return error;
}

// Whoever ends the process this way does not read message boxes, and may not wait.
void AppBaseImpl::terminate() {
    m_isLeaving = true;
    m_exitRequested = true;
    m_wayOut->leave();
    QCoreApplication::quit();
}

void AppBaseImpl::exitApplication() {
    m_exitRequested = true;
    if (currentPatient()) {
        // The application ends whatever the result; what could not be stored waits for the next
        // start. What somebody else stored is no loss while nothing was changed here.
        const DataPointer<Patient> patient = currentPatient();
        const CaError error = DataIOManager::storePatient(patient);
        if (error != CaError::nullError && DataIOManager::hasUnstoredChanges(patient))
            m_wayOut->keep(patient, error);
    }
    m_isLeaving = true;
    QCoreApplication::quit();
}

void AppBaseImpl::unixSignalHandler(int) {}

void AppBaseImpl::reconfigure(CaSubject*, void*, const char*, void*) {
    // A window that its user has maximised since stays as it is.
    if (vlr::windowShowMode.get() != m_appliedShowMode)
        setShowMode();
    setTouchScreenModeEnabled(m_config->isTouchScreenModeEnabled());
}

// --- modules

bool AppBaseImpl::addModule(QtAppModule* module) {
    if (!module || !m_moduleList)
        return false;
    showSplashScreenMessage(tr("Loading module: %1...").arg(module->name()));
    return m_moduleList->registerModule(module) >= 0;
}

void AppBaseImpl::activateModule(const QString& name) {
    if (m_moduleList)
        m_moduleList->activate(name);
}

void AppBaseImpl::setModuleSelector(QtModuleSelector* selector) {
    if (!selector || !m_mainWindow || !m_moduleList)
        return;
    // The former one may be the one that was clicked, whose signal is not through yet.
    if (m_moduleSelector)
        vlr::disconnectSelector(m_moduleSelector, m_moduleList);
    m_moduleSelector = selector;
    vlr::connectSelector(selector, m_moduleList);
    m_mainWindow->setModuleSelector(selector);
    m_moduleList->generateEvents();
}

// --- the window

QtAppMainWindow* AppBaseImpl::getMainWindow() const {
    return m_mainWindow;
}

void AppBaseImpl::setApplicationIdentification(const QString& title, const QIcon& icon,
                                               const QString& iconText) {
    if (!m_mainWindow)
        return;
    m_mainWindow->setWindowTitle(title);
    QApplication::setWindowIcon(icon);
    m_mainWindow->setWindowIcon(icon);
    m_mainWindow->setWindowIconText(iconText);
}

void AppBaseImpl::setTouchScreenModeEnabled(bool on) {
    if (!m_mainWindow)
        return;
    if (m_touchScreenMode && !on) {
        m_mainWindow->setTouchScreenMode(false);
        emit touchScreenModeOff();
        m_touchScreenMode = false;
    } else {
        m_mainWindow->setIconSize(QSize(100, 100));
        m_mainWindow->setTouchScreenMode(on);
        emit touchScreenModeOn();
        m_touchScreenMode = on;
    }
}

void AppBaseImpl::showConfigDialog() {
    const QPointer<AppBaseImpl> self = this;
    const QPointer<QtConfigDialog> dialog =
        new QtConfigDialog(m_config, m_moduleList, m_mainWindow);
    const bool isAccepted = dialog->exec() == QDialog::Accepted;
    delete dialog.data();
    if (!self || !isAccepted || !m_useConfiguration)
        return;
    // What was chosen does not wait for a good end of this run.
    if (m_mainWindow)
        m_mainWindow->rememberPlace();
    const CaError error = storeConfiguration("showConfigDialog");
    if (error != CaError::nullError)
        VLR_LOG(UserError) << "The configuration is in force, but could not be stored.\nReason: "
                           << error.text();
}

void AppBaseImpl::showConfigFileEditorDialog() {
    std::cout << "AppBaseImpl::showConfigFileEditorDialog\n" << std::flush;
    const QPointer<vlr::SettingsEditorDialog> dialog = new vlr::SettingsEditorDialog(m_mainWindow);
    dialog->exec();
    delete dialog.data();
}

void AppBaseImpl::showScreenShotDialog() {
    const DataPointer<Patient> patient = currentPatient();
    const QPointer<QtScreenShotDialog> dialog = new QtScreenShotDialog(patient.get(), nullptr);
    dialog->grab(m_mainWindow);
    delete dialog.data();
}

// --- current items

void AppBaseImpl::announce(CurrentItems::Item item) {
    switch (item) {
    case CurrentItems::Item::Patient:
        return currentPatientChanged();
    case CurrentItems::Item::Study:
        return currentStudyChanged();
    case CurrentItems::Item::DataItem:
        return currentDataItemChanged();
    }
}

DataPointer<Patient> AppBaseImpl::currentPatient() const {
    return m_currentItems.patient();
}

DataPointer<Study> AppBaseImpl::currentStudy() const {
    return m_currentItems.study();
}

DataPointer<Data> AppBaseImpl::currentDataItem() const {
    return m_currentItems.dataItem();
}

void AppBaseImpl::setCurrentPatient(const DataPointer<Patient>& patient) {
    m_currentItems.setPatient(patient);
}

void AppBaseImpl::setCurrentStudy(const DataPointer<Study>& study) {
    m_currentItems.setStudy(study);
}

void AppBaseImpl::setCurrentDataItem(const DataPointer<Data>& item) {
    m_currentItems.setDataItem(item);
}

CaError AppBaseImpl::getPatientList(std::vector<Patient*>& patients) {
    std::vector<vlr::URI> uris;
    CaError error = DataIOManager::patientList(uris);
    if (error != CaError::nullError) {
        VLR_LOG(UserError) << "Patient list is empty. Reason: " << error.text();
        return error;
    }
    for (const vlr::URI& uri : uris) {
        DataPointer<Patient> patient;
        error = DataIOManager::loadPatient(uri, patient);
        if (error != CaError::nullError) {
            VLR_LOG(UserError) << "Can't load Patient. reason: " << error.text();
            return error;
        }
        patient->ref();
        patients.push_back(patient.get());
    }
    return CaError::nullError;
}
