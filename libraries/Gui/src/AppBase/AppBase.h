#pragma once

#include "Data/Patient.h"
#include "Data/Study.h"
#include "Error/CaError.h"
#include "Observer/CaSubject.h"
#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <vector>

class AppBaseImpl;
class QIcon;
class QtAppMainWindow;
class QtAppModule;
class QtModuleSelector;

/// The one application object of a program built on this library.
///
///     int main(int argc, char** argv) {
///         AppBase application(argc, argv);
///         application.setApplicationIdentification(title, icon, title);
///         application.addModule(new PlanningModule);
///         application.addModule(new NavigationModule);
///         return application.run();
///     }
///
/// It creates the QApplication, the main window and the module list, and keeps the current
/// patient, study and data item, which every module shares. A change of these is announced twice:
/// as a Qt signal, and as an event of the CaSubject with one of the names below.
class VLR_GUI_EXPORT AppBase : public QObject, public CaSubject {
    Q_OBJECT

public:
    static const char* const CURRENT_PATIENT_CHANGED;
    static const char* const CURRENT_STUDY_CHANGED;
    static const char* const CURRENT_DATA_ITEM_CHANGED;
    /// Both carry the same text. Who must tell on from off uses the Qt signals.
    static const char* const TOUCH_SCREEN_MODE_ON;
    static const char* const TOUCH_SCREEN_MODE_OFF;

    /// `argc` and `argv` must stay valid as long as the object. A null `impl` makes the usual
    /// one; another one is taken over. Without `useConfiguration` nothing is loaded or stored.
    /// `forceSplash` shows the splash screen whatever the settings say.
    AppBase(int& argc, char** argv, AppBaseImpl* impl = nullptr, bool useConfiguration = true,
            bool forceSplash = false);
    ~AppBase() override;

    static AppBase* instance(); ///< The object constructed last; null when it is gone.

    /// Shows the window, runs the event loop, stores the configuration. Always returns 0.
    int run();
    /// Takes the module over. The first one is activated at once. False for null.
    bool addModule(QtAppModule* module);
    void setModuleSelector(QtModuleSelector* selector);
    void setApplicationIdentification(const QString& title, const QIcon& icon,
                                      const QString& iconText);
    void launchSplashScreen(); ///< Shows the splash screen for 2.5 seconds.
    void setTouchScreenModeEnabled(bool enabled);

    static DataPointer<Patient> getCurrentPatient();
    static DataPointer<Study> getCurrentStudy();
    static DataPointer<Data> getCurrentDataItem();
    /// Another patient makes its first study the current one, and so on to the data item.
    static void setCurrentPatient(DataPointer<Patient> patient);
    static void setCurrentStudy(DataPointer<Study> study);
    static void setCurrentDataItem(DataPointer<Data> item);
    static void setBusyCursor();
    static void resetCursor();

    /// Loads all stored patients. Each pointer comes with one reference that the caller gives
    /// back with Data::unref(). After an error the vector holds those that were loaded.
    static CaError getPatientList(std::vector<Patient*>& patients);

public slots:
    QtAppMainWindow* getMainWindow();
    void activateModule(QString name);
    void exitApplication();      ///< Stores the current patient and leaves the event loop.
    void requestScreenshot();    ///< Opens the screenshot dialog.
    void requestSystemConfig();  ///< Opens the settings editor.
    void requestPatientViewer(); ///< Does nothing.

signals:
    void currentPatientChanged();
    void currentStudyChanged();
    void currentDataItemChanged();
    void touchScreenModeOn();
    void touchScreenModeOff();
    void splashClosed();

private:
    static void sendCurrentPatientChangedEvent();
    static void sendCurrentStudyChangedEvent();
    static void sendCurrentDataItemChangedEvent();
    static void sendTouchScreenModeOnEvent();
    static void sendTouchScreenModeOffEvent();
    static void sendSplashClosedEvent();
    static void sendEvent(const char* event, void (AppBase::*signal)());

    static AppBase* m_instance;
    AppBaseImpl* m_impl;
};
