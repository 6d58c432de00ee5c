#pragma once

#include "Data/Patient.h"
#include "Observer/CaSubject.h"

#include <QtCore/QObject>

/// Stores the current patient as soon as a screenshot was added to him, so that the picture is in
/// the repository before anything else happens. A failure is told to the user.
class ScreenshotKeeper : public QObject {
    Q_OBJECT

public:
    explicit ScreenshotKeeper(QObject* parent = nullptr);

signals:
    void screenshotsChanged(); ///< Another patient, or another child of the patient.

private:
    void followPatient();
    void storeWith(const Data* child);

    DataPointer<Patient> m_patient;
    CaConnection m_patientChanges;
    CaConnection m_additions;
    CaConnection m_removals;
};
