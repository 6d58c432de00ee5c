#pragma once

#include "AppBase/AppBaseConfig.h"
#include "AppBase/CurrentItems.h"
#include "AppBase/MainWindowServices.h"
#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <array>
#include <memory>
#include <vector>

class QIcon;
class QtApplication;
class QtAppMainWindow;
class QtAppModule;
class QtMessageBoxLogger;
class QtModuleList;
class QtModuleSelector;
class SplashScreen;

namespace vlr {
class WayOut;
}

/// Does the work of AppBase: it owns the QApplication, the configuration, the main window, the
/// module list and the splash screen.
class VLR_GUI_EXPORT AppBaseImpl : public QObject,
                                   public CaSubject,
                                   public vlr::MainWindowServices {
    Q_OBJECT

public:
    AppBaseImpl(int& argc, char** argv, bool useConfiguration, bool forceSplash);
    /// Stores the modules' configurations on the way: the module list goes while the
    /// QApplication still lives.
    ~AppBaseImpl() override;

    int run();
    bool addModule(QtAppModule* module);
    void activateModule(const QString& name);
    void setModuleSelector(QtModuleSelector* selector);
    void setApplicationIdentification(const QString& title, const QIcon& icon,
                                      const QString& iconText);
    void launchSplashScreen();
    /// Switching off while off acts as switching on does, except for the stored mode.
    void setTouchScreenModeEnabled(bool on);

    QtAppMainWindow* getMainWindow() const override;
    const DataPointer<AppBaseConfig>& config() const { return m_config; } ///< Never null.
    DataPointer<Patient> currentPatient() const override;
    DataPointer<Study> currentStudy() const;
    DataPointer<Data> currentDataItem() const;
    void setCurrentPatient(const DataPointer<Patient>& patient);
    void setCurrentStudy(const DataPointer<Study>& study);
    void setCurrentDataItem(const DataPointer<Data>& item);
    /// From the moment the event loop is asked to end until run() is called again, and while what
    /// is unstored is secured for another reason.
    bool isLeaving() const override;

    static CaError getPatientList(std::vector<Patient*>& patients);

signals:
    // What AppBase announces.
    void currentPatientChanged();
    void currentStudyChanged();
    void currentDataItemChanged();
    void touchScreenModeOn();
    void touchScreenModeOff();
    void splashClosed();

public slots:
    void unixSignalHandler(int signal);
    void showConfigDialog();
    void showConfigFileEditorDialog();
    void showScreenShotDialog();
    void exitApplication();
    void splashCloseSL();

private:
    void createApplication(int& argc, char** argv);
    void setLogStreams();
    void registerConfiguration();
    void loadConfiguration();
    void createMainWindow();
    CaError storeConfiguration(const char* caller);
    void prepareWayOut();
    void storeConfigurations(bool hasDisplay);
    void terminate();
    void offerRecoveries();
    void initSplashScreen(bool force);
    void showSplashScreenMessage(const QString& text);
    void setShowMode();
    void finishSplashScreen();
    void announce(CurrentItems::Item item);
    bool eventFilter(QObject* watched, QEvent* event) override;
    void reconfigure(CaSubject* subject, void* clientData, const char* event, void* eventData);

    QPointer<QtModuleList> m_moduleList;
    QPointer<QtAppMainWindow> m_mainWindow;
    QPointer<QtModuleSelector> m_moduleSelector;
    CurrentItems m_currentItems;
    DataPointer<AppBaseConfig> m_config;
    QPointer<SplashScreen> m_splashScreen;
    bool m_splashGoesWithWindow = false;
    bool m_touchScreenMode = false;
    bool m_useConfiguration;
    const QString m_configurationId;
    const QString m_configurationName;
    QtApplication* m_application = nullptr;
    std::unique_ptr<vlr::WayOut> m_wayOut;
    std::array<std::unique_ptr<QtMessageBoxLogger>, 3> m_messageBoxes;
    QString m_appliedShowMode; ///< As it was set; null before the first time.
    bool m_exitRequested = false;
    bool m_isLeaving = false;
};
