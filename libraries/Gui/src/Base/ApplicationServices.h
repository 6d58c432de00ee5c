#pragma once

#include "Data/DataPointer.h"
#include "vlrGuiExport.h"

class Patient;
class QtAppMainWindow;

/// What the rooms below the application object may ask of the running application. The
/// application object implements it; a test puts a class of its own in its place:
///
///     struct FakeServices : ApplicationServices { void setBusyCursor() override { ++busy; } ... };
///
/// The newest live object is the one that answers.
class VLR_GUI_EXPORT ApplicationServices {
public:
    /// The services of the running application; null when there is none.
    static ApplicationServices* instance();

    ApplicationServices();
    ApplicationServices(const ApplicationServices&) = delete;
    ApplicationServices& operator=(const ApplicationServices&) = delete;
    virtual ~ApplicationServices();

    virtual QtAppMainWindow* getMainWindow() const = 0; ///< Null when the window is gone.
    virtual DataPointer<Patient> currentPatient() const = 0;
    virtual void setBusyCursor() = 0;
    virtual void resetCursor() = 0;
    /// Whether the program is on its way out. A message box would close unread then, or keep a
    /// program that was told to end from ending.
    virtual bool isLeaving() const { return false; }
};
