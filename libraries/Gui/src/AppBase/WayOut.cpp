#include "AppBase/WayOut.h"

#include "Data/PatientText.h"
#include "IO/DataIOManager.h"
#include "IO/RecoveryFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QScopedValueRollback>

#include <utility>

namespace vlr {

namespace {

// The objects of a thread go first when it calls exit(), before any static object: everything that
// is needed for storing is still there.
struct ExitHook {
    WayOut* wayOut = nullptr;
    ~ExitHook() {
        if (!wayOut)
            return;
        wayOut->leave(false);
        // Nobody destroys the application object any more, which would do that.
        DataIOManager::closeRepository();
    }
};
thread_local ExitHook exitHook;

void tell(const DataPointer<Patient>& patient, const CaError& reason, const CaError& lost,
          const QString& path) {
    VLR_LOG(Error) << "Could not store the current patient. Reason: " << reason;
    const QString id = visibleText(patient->patientId());
    if (lost == CaError::nullError)
        VLR_LOG(UserError) << "The changes of the patient \"" << id
                           << "\" could not be stored. They are kept in " << path
                           << " until the next start.\nReason: " << reason.text();
    else
        VLR_LOG(UserError) << "The changes of the patient \"" << id
                           << "\" could not be stored and are lost.\nReason: " << reason.text()
                           << '\n'
                           << lost.text();
}

} // namespace

WayOut::WayOut(StoreConfigurations storeConfigurations, CurrentPatient currentPatient)
    : m_storeConfigurations(std::move(storeConfigurations)),
      m_currentPatient(std::move(currentPatient)) {
    exitHook.wayOut = this;
}

WayOut::~WayOut() {
    exitHook.wayOut = nullptr;
    forgetStored();
}

void WayOut::leave(bool hasDisplay) {
    m_isLeaving = true;
    m_watchdog.begin();
    secure(hasDisplay);
}

void WayOut::giveUp() {
    m_isLeaving = false;
    m_watchdog.giveUp();
}

void WayOut::secure(bool hasDisplay) {
    if (m_isSecuring)
        return; // The display has ended meanwhile.
    const QScopedValueRollback<bool> securing(m_isSecuring, true);
    m_storeConfigurations(hasDisplay);
    const DataPointer<Patient> patient = m_currentPatient();
    if (patient && DataIOManager::hasUnstoredChanges(patient))
        rescue(patient);
    forgetStored();
    setSafe();
}

// What is safe while the program goes on may change before it is told to end.
void WayOut::setSafe() {
    if (m_isLeaving)
        m_watchdog.setSafe();
}

// What cannot be stored must not be looked for in two files: the one of before goes when the new
// one is there.
CaError WayOut::writeFile(const DataPointer<Patient>& patient) {
    QString path;
    const CaError error = writeRecovery(patient, path);
    if (error != CaError::nullError)
        return error;
    if (m_rescued == patient)
        removeRecovery(m_recovery);
    m_rescued = patient;
    m_recovery = path;
    return error;
}

void WayOut::rescue(const DataPointer<Patient>& patient) {
    const CaError lost = writeFile(patient);
    if (lost == CaError::nullError)
        setSafe();
    const CaError error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        tell(patient, error, lost, m_recovery);
}

void WayOut::keep(const DataPointer<Patient>& patient, const CaError& reason) {
    const CaError lost = writeFile(patient);
    tell(patient, reason, lost, m_recovery);
}

void WayOut::forgetStored() {
    if (!m_rescued || DataIOManager::hasUnstoredChanges(m_rescued))
        return;
    removeRecovery(m_recovery);
    m_rescued = nullptr;
    m_recovery.clear();
}

} // namespace vlr
