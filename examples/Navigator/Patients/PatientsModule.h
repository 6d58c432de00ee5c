#pragma once

#include "Common/WorkflowModule.h"
#include "Observer/CaSubject.h"
#include "Patients/PatientsOptions.h"

class PatientsView;

/// The first step: the patient is chosen from the stored ones, or entered.
class PatientsModule : public WorkflowModule {
    Q_OBJECT

public:
    PatientsModule();

    void activate() override;
    void deactivate() override;

private:
    void loadOptions();
    void createContext();
    void loadForTheFirstTime();
    void newPatient();
    void makeCurrent();
    void showCurrentPatient();

    DataPointer<PatientsOptions> m_options;
    PatientsView* m_view; ///< Owned by the base.
    QPushButton* m_makeCurrent = nullptr;
    CaConnection m_patientChanges;
};
