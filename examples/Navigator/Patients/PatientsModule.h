#pragma once

#include "Common/WorkflowModule.h"
#include "Data/Patient.h"
#include "Observer/CaSubject.h"
#include "Patients/PatientsOptions.h"

#include <QtCore/QPointer>

#include <functional>

class PatientsView;
class StudyList;

/// The first step: the patient is chosen from the stored ones, or entered; so are his studies.
class PatientsModule : public WorkflowModule {
    Q_OBJECT

public:
    PatientsModule();

    /// `work` says, in a sentence for the user, what is closed when another patient becomes the
    /// current one; an empty text for nothing. Whoever is to lose something is asked first.
    void setWorkOfPatient(std::function<QString()> work) { m_work = std::move(work); }

    void activate() override;
    void deactivate() override;

private:
    void loadOptions();
    void createContext();
    void loadForTheFirstTime();
    void createStudies();
    void createBackup();
    void restore();
    void newPatient();
    void editPatient();
    void newStudy();
    void editStudy();
    /// Lets the user edit the data; `store` is what OK does with it. False when he cancelled.
    bool edit(const DataPointer<Data>& data, const QString& title,
              const std::function<CaError()>& store);
    DataPointer<Patient> selectedPatient(); ///< Null, with a message, when it cannot be loaded.
    void selectionChanged();
    void reload();
    /// Brings the current patient to what somebody else stored meanwhile. Where there are changes
    /// here too the user is asked, or only told.
    void followStored(bool mayAsk);
    void finishEdit(const DataPointer<Patient>& patient, bool takesStored);
    void makeCurrent();
    bool mayLeaveFor(const DataPointer<Patient>& next);
    void showCurrentPatient();

    std::function<QString()> m_work;
    DataPointer<PatientsOptions> m_options;
    QPointer<PatientsView> m_view; ///< Owned by the base.
    StudyList* m_studies = nullptr;
    QPushButton* m_editPatient = nullptr;
    QPushButton* m_makeCurrent = nullptr;
    QPushButton* m_newStudy = nullptr;
    QPushButton* m_editStudy = nullptr;
    CaConnection m_patientChanges;
};
