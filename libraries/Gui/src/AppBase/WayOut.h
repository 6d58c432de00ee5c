#pragma once

#include "AppBase/Watchdog.h"
#include "Data/Patient.h"

#include <QtCore/QString>

#include <functional>

namespace vlr {

/// The ways out of the program that nobody can answer: a signal, the end of the session, and the
/// end of the display, which Qt and Xlib turn into a call of exit(). Nothing opens on them.
/// Configurations are stored first, since that is soon done. Then the current patient, when he has
/// changes, is put into a recovery file, and is stored: whatever a lock or a server does meanwhile,
/// the process may end at any time. Once he is stored the file goes; the next start offers one
/// that was left.
///
///     WayOut wayOut([&](bool hasDisplay) { storeConfigurations(hasDisplay); },
///                   [&] { return currentPatient; });
///     wayOut.leave();    // the program was told to end
///
/// As long as it lives, an exit() of its thread is such an end. To be destroyed before the
/// application object. GUI thread only.
class WayOut {
public:
    /// Without a display no window may be asked anything.
    using StoreConfigurations = std::function<void(bool hasDisplay)>;
    using CurrentPatient = std::function<DataPointer<Patient>()>;
    WayOut(StoreConfigurations storeConfigurations, CurrentPatient currentPatient);
    ~WayOut();
    WayOut(const WayOut&) = delete;
    WayOut& operator=(const WayOut&) = delete;

    /// Stores what is unstored. The program may go on, as after a session's end that was cancelled;
    /// the recovery file of a patient who is stored later goes with this object.
    void secure(bool hasDisplay = true);
    /// The same; the process has 10 seconds from the signal, or from now.
    void leave(bool hasDisplay = true);
    void giveUp(); ///< The program does not end after all.
    /// Puts a patient who could not be stored, for the reason that is given, into a recovery file,
    /// and says so; where not even that is possible, that his changes are lost.
    void keep(const DataPointer<Patient>& patient, const CaError& reason);
    bool isSecuring() const { return m_isSecuring; }

private:
    void rescue(const DataPointer<Patient>& patient);
    CaError writeFile(const DataPointer<Patient>& patient);
    void forgetStored();
    void setSafe();

    StoreConfigurations m_storeConfigurations;
    CurrentPatient m_currentPatient;
    bool m_isSecuring = false;
    bool m_isLeaving = false;
    DataPointer<Patient> m_rescued; ///< The one in the file.
    QString m_recovery;
    Watchdog m_watchdog;
};

} // namespace vlr
