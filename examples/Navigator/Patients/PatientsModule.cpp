#include "Patients/PatientsModule.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Common/AfterFirstPaint.h"
#include "IO/DataIOManager.h"
#include "Patients/NewPatientDialog.h"
#include "Patients/PatientsView.h"

#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

PatientsModule::PatientsModule()
    : WorkflowModule(QStringLiteral("Patients")), m_view(new PatientsView) {
    setMainWidget(m_view);
    loadOptions();
    createContext();
    if (AppBase* application = AppBase::instance())
        m_patientChanges = CaConnection(*application, AppBase::CURRENT_PATIENT_CHANGED,
                                        [this](auto&&...) { showCurrentPatient(); });
    // The window shall be on the screen before the repository answers.
    afterFirstPaint(m_view, [this] { loadForTheFirstTime(); });
}

void PatientsModule::loadOptions() {
    createPatientsOptionsFactory();
    m_options = dataCast<PatientsOptions>(DataPointer<Data>(configuration()));
    if (m_options)
        return;
    m_options = DataPointer<PatientsOptions>(new PatientsOptions);
    setConfiguration(m_options.get());
}

void PatientsModule::createContext() {
    QPushButton* const create =
        addButton("Add", tr("&New patient..."), tr("Enter a patient and store it"));
    m_makeCurrent = addButton("Patient", tr("&Make current"),
                              tr("Work on the patient that is selected in the list"));
    QPushButton* const reload = addButton("Refresh", tr("&Reload list"),
                                          tr("Show what other workstations stored meanwhile"));
    create->setObjectName(QStringLiteral("newPatient"));
    m_makeCurrent->setObjectName(QStringLiteral("makeCurrent"));
    m_makeCurrent->setEnabled(false);
    contents()->addStretch(1);

    connect(create, &QPushButton::clicked, this, &PatientsModule::newPatient);
    connect(m_makeCurrent, &QPushButton::clicked, this, &PatientsModule::makeCurrent);
    connect(reload, &QPushButton::clicked, m_view, &PatientsView::load);
    connect(m_view, &PatientsView::makeCurrentRequested, this, &PatientsModule::makeCurrent);
    connect(m_view, &PatientsView::selectionChanged, this,
            [this] { m_makeCurrent->setEnabled(m_view->selectedPatient().isValid()); });
}

void PatientsModule::activate() {
    m_view->setFocus();
}

void PatientsModule::deactivate() {}

void PatientsModule::loadForTheFirstTime() {
    m_view->load();
    m_view->selectId(m_options->lastPatientId());
}

void PatientsModule::newPatient() {
    AppBase* const application = AppBase::instance();
    NewPatientDialog dialog(application ? application->getMainWindow() : m_view->window());
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_view->load();
    m_view->select(dialog.patient()->storageUri());
    m_view->setFocus();
}

void PatientsModule::makeCurrent() {
    const vlr::URI uri = m_view->selectedPatient();
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    if (!uri.isValid() || (current && current->storageUri() == uri))
        return;
    DataPointer<Patient> patient;
    const CaError error = DataIOManager::loadPatient(uri, patient);
    if (error != CaError::nullError) {
        m_view->showMessage(
            tr("The patient cannot be loaded. %1").arg(QString::fromStdString(error.text())));
        return;
    }
    m_view->showMessage({});
    AppBase::setCurrentPatient(patient);
}

void PatientsModule::showCurrentPatient() {
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    m_view->setCurrentPatient(current ? current->storageUri() : vlr::URI());
    if (current)
        m_options->setLastPatientId(current->patientId());
}
