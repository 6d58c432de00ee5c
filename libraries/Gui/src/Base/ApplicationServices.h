#pragma once

#include "Data/DataPointer.h"
#include "vlrGuiExport.h"

class Patient;
class QObject;
class QWidget;

/// What the rooms below the application object may ask of the running application. The
/// application object implements it; a test puts a class of its own in its place:
///
///     struct FakeServices : ApplicationServices { void setBusyCursor() override { ++busy; } ... };
///
/// The newest live object is the one that answers. Who has a main window derives from
/// vlr::MainWindowServices, which answers what is the window's matter.
class VLR_GUI_EXPORT ApplicationServices {
public:
    /// What the user may ask the main window for.
    enum class Request { Screenshot, Configuration, SettingsEditor, Exit };

    /// The services of the running application; null when there is none.
    static ApplicationServices* instance();

    ApplicationServices();
    ApplicationServices(const ApplicationServices&) = delete;
    ApplicationServices& operator=(const ApplicationServices&) = delete;
    virtual ~ApplicationServices();

    virtual void showControls() = 0; ///< Shows the control list in the viewer area.
    /// Shows the widget in the viewer area, instead of the controls, which lose their places.
    virtual void showMainWidget(QWidget* widget) = 0;

    /// From now on the sender's signal, given as SIGNAL() spells it, is the request. Nothing while
    /// there is nobody to ask.
    virtual void connectRequest(QObject* sender, const char* signal, Request request) = 0;
    virtual bool isRequestAnswered(Request request) const = 0;
    /// From now on the receiver's slot, given as SLOT() spells it, is called when
    /// isRequestAnswered() changed for some request.
    virtual void connectRequestsChanged(QObject* receiver, const char* slot) = 0;

    virtual DataPointer<Patient> currentPatient() const = 0;
    virtual void setBusyCursor() = 0;
    virtual void resetCursor() = 0;
    /// Whether the program is on its way out. A message box would close unread then, or keep a
    /// program that was told to end from ending.
    virtual bool isLeaving() const { return false; }
};
