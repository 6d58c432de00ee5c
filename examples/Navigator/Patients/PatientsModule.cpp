#include "Patients/PatientsModule.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Common/AfterFirstPaint.h"
#include "Common/PatientText.h"
#include "Common/Question.h"
#include "Data/Study.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtPatientConfigurationWidget.h"
#include "DataUtils/QtStudyConfigurationWidget.h"
#include "IO/DataIOManager.h"
#include "Patients/PatientBackup.h"
#include "Patients/PatientsOptionsWidget.h"
#include "Patients/PatientsView.h"
#include "Patients/StoredVersion.h"
#include "Patients/StudyList.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int patientData = 1;

void linkForms() {
    createQtPatientConfigurationWidgetFactory();
    createQtStudyConfigurationWidgetFactory();
    createPatientsOptionsWidgetFactory();
    linkDataToWidget(Patient::className, "QtPatientConfigurationWidget", "", patientData, "");
    linkDataToWidget(Study::className, "QtStudyConfigurationWidget", "", patientData, "");
    linkDataToWidget(PatientsOptions::className, "PatientsOptionsWidget", "",
                     DataFactory::configurationRecord, "");
}

// A patient nobody can find again by name or id is not stored.
CaError storeNamed(const DataPointer<Patient>& patient, bool& takesStored) {
    using Form = QtPatientConfigurationWidget;
    if (patient->patientId().trimmed().isEmpty())
        return CaError(Form::idError,
                       PatientsModule::tr("Enter the id of the patient.").toStdString());
    if (patient->name().trimmed().isEmpty())
        return CaError(Form::nameError,
                       PatientsModule::tr("Enter the name of the patient.").toStdString());
    return storeOrAsk(patient, takesStored);
}

// A patient without the study when it could not be stored with it.
CaError storeWithStudy(const DataPointer<Patient>& patient, const DataPointer<Study>& study,
                       bool& takesStored) {
    CaError error = patient->addChild(study, true);
    if (error != CaError::nullError)
        return error;
    error = storeOrAsk(patient, takesStored);
    if (error != CaError::nullError)
        (void)patient->removeChild(study.get());
    return error;
}

QString notLoaded(const CaError& error) {
    return PatientsModule::tr("The patient cannot be loaded. %1")
        .arg(QString::fromStdString(error.text()));
}

QString notStored(const CaError& error) {
    return PatientsModule::tr("The patient was not stored. %1")
        .arg(QString::fromStdString(error.text()));
}

} // namespace

PatientsModule::PatientsModule()
    : WorkflowModule(QStringLiteral("Patients")), m_view(new PatientsView) {
    setMainWidget(m_view);
    linkForms();
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
    m_editPatient = addButton("Edit", tr("&Edit patient..."),
                              tr("Change the data of the patient that is selected in the list"));
    m_makeCurrent = addButton("Patient", tr("&Make current"),
                              tr("Work on the patient that is selected in the list"));
    QPushButton* const reload = addButton("Refresh", tr("&Reload list"),
                                          tr("Show what other workstations stored meanwhile"));
    create->setObjectName(QStringLiteral("newPatient"));
    m_editPatient->setObjectName(QStringLiteral("editPatient"));
    m_makeCurrent->setObjectName(QStringLiteral("makeCurrent"));
    reload->setObjectName(QStringLiteral("reloadPatients"));
    m_editPatient->setEnabled(false);
    m_makeCurrent->setEnabled(false);
    createBackup();
    createStudies();

    connect(create, &QPushButton::clicked, this, &PatientsModule::newPatient);
    connect(m_editPatient, &QPushButton::clicked, this, &PatientsModule::editPatient);
    connect(m_makeCurrent, &QPushButton::clicked, this, &PatientsModule::makeCurrent);
    connect(reload, &QPushButton::clicked, this, &PatientsModule::reload);
    connect(m_view, &PatientsView::makeCurrentRequested, this, &PatientsModule::makeCurrent);
    connect(m_view, &PatientsView::selectionChanged, this, &PatientsModule::selectionChanged);
}

void PatientsModule::createStudies() {
    m_studies = new StudyList;
    m_studies->setObjectName(QStringLiteral("studies"));
    auto* title = new QLabel(tr("S&tudies of the current patient:"));
    title->setBuddy(m_studies);
    title->setWordWrap(true);
    contents()->addSpacing(6);
    contents()->addWidget(title);
    contents()->addWidget(m_studies, 1);
    m_newStudy = addButton("Add", tr("New st&udy..."), tr("Add a study to the current patient"));
    m_editStudy = addButton("Edit", tr("Edit stud&y..."), tr("Change the data of the study"));
    m_newStudy->setObjectName(QStringLiteral("newStudy"));
    m_editStudy->setObjectName(QStringLiteral("editStudy"));
    m_newStudy->setEnabled(false);
    m_editStudy->setEnabled(false);
    connect(m_newStudy, &QPushButton::clicked, this, &PatientsModule::newStudy);
    connect(m_editStudy, &QPushButton::clicked, this, &PatientsModule::editStudy);
    if (AppBase* application = AppBase::instance())
        connect(application, &AppBase::currentStudyChanged, this,
                [this] { m_editStudy->setEnabled(static_cast<bool>(AppBase::getCurrentStudy())); });
}

void PatientsModule::createBackup() {
    QPushButton* const button =
        addButton("Patient", tr("&Backup"), tr("Make a copy of all patients, or go back to one"));
    button->setObjectName(QStringLiteral("backup"));
    auto* const menu = new QMenu(button);
    const QAction* const backUp = menu->addAction(tr("&Back up the patients..."));
    const QAction* const restore = menu->addAction(tr("&Restore a backup..."));
    connect(backUp, &QAction::triggered, this, [this] { backUpPatients(m_view->window()); });
    connect(restore, &QAction::triggered, this, &PatientsModule::restore);
    button->setMenu(menu);
}

// What is worked on belongs to the patients that go, and goes before them.
void PatientsModule::restore() {
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    QString losses;
    if (current)
        losses = tr("%1 is the current patient no longer.").arg(nameAndId(*current)) +
                 QLatin1Char(' ') + (m_work ? m_work() : QString());
    const QPointer<PatientsModule> self = this;
    const QString backup = askForBackup(m_view->window(), losses.trimmed());
    if (backup.isEmpty() || !self || !m_view || current != AppBase::getCurrentPatient())
        return;
    if (current && DataIOManager::hasUnstoredChanges(current)) {
        const CaError error = DataIOManager::storePatient(current);
        if (error != CaError::nullError)
            return m_view->showMessage(notStored(error));
    }
    const bool isRestored = restorePatients(backup);
    if (!self || !m_view)
        return;
    if (isRestored) {
        AppBase::setCurrentPatient({});
        AppBase::setCurrentStudy({});
        AppBase::setCurrentDataItem({});
    }
    m_view->load();
}

void PatientsModule::activate() {
    if (m_view)
        m_view->setFocus();
}

void PatientsModule::deactivate() {}

void PatientsModule::loadForTheFirstTime() {
    m_view->load();
    if (m_options->selectsLastPatient())
        m_view->selectId(m_options->lastPatientId());
}

// --- editing

bool PatientsModule::edit(const DataPointer<Data>& data, const QString& title,
                          const std::function<CaError()>& store) {
    AppBase* const application = AppBase::instance();
    DataFactory::DialogOptions options;
    options.title = title;
    options.parent = application ? application->getMainWindow() : m_view->window();
    options.store = store;
    const QPointer<PatientsModule> self = this;
    const CaError error = DataFactory::displayConfigurationDialog(data.get(), nullptr, options);
    if (error != CaError::nullError)
        return false;
    data->notify(Data::CHANGED);
    return self && m_view; // The application may have ended while the dialog was open.
}

void PatientsModule::newPatient() {
    const DataPointer<Patient> patient(new Patient);
    bool takesStored = false; // Nobody else has this one.
    if (!edit(patient, tr("New patient"), [&] { return storeNamed(patient, takesStored); }))
        return;
    m_view->load();
    m_view->select(patient->storage().uri);
    m_view->setFocus();
}

void PatientsModule::editPatient() {
    const DataPointer<Patient> patient = selectedPatient();
    bool takesStored = false;
    if (patient &&
        edit(patient, tr("Edit patient"), [&] { return storeNamed(patient, takesStored); })) {
        finishEdit(patient, takesStored);
        m_view->setFocus();
    }
}

void PatientsModule::newStudy() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    const DataPointer<Study> study(new Study);
    bool takesStored = false;
    if (!patient ||
        !edit(study, tr("New study"), [&] { return storeWithStudy(patient, study, takesStored); }))
        return;
    if (!takesStored)
        AppBase::setCurrentStudy(study);
    finishEdit(patient, takesStored);
}

void PatientsModule::editStudy() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    const DataPointer<Study> study = AppBase::getCurrentStudy();
    bool takesStored = false;
    if (!patient || !study ||
        !edit(study, tr("Edit study"), [&] { return storeOrAsk(patient, takesStored); }))
        return;
    m_studies->load();
    finishEdit(patient, takesStored);
}

void PatientsModule::finishEdit(const DataPointer<Patient>& patient, bool takesStored) {
    CaError error;
    if (takesStored && patient == AppBase::getCurrentPatient())
        error = takeStoredVersion(patient);
    m_view->load();
    if (error != CaError::nullError)
        m_view->showMessage(notLoaded(error));
}

// --- the current patient

void PatientsModule::selectionChanged() {
    const vlr::URI selected = m_view->selectedPatient();
    m_editPatient->setEnabled(selected.isValid());
    m_makeCurrent->setEnabled(selected.isValid());
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    if (current && selected.isValid() && current->storage().uri == selected)
        followStored(false);
}

void PatientsModule::reload() {
    m_view->load();
    followStored(true);
}

void PatientsModule::followStored(bool mayAsk) {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    bool isChanged = false;
    // What cannot be read is said where the list stands.
    if (!patient || DataIOManager::isChangedElsewhere(patient, isChanged) != CaError::nullError ||
        !isChanged)
        return;
    Conflict answer = Conflict::TakeStored;
    if (DataIOManager::hasUnstoredChanges(patient)) {
        if (!mayAsk) {
            m_view->showMessage(tr("Another workstation stored the current patient, who has "
                                   "changes here too. Choose \"Reload list\" to decide."));
            return;
        }
        const QPointer<PatientsModule> self = this;
        answer = askAboutConflict(*patient, m_view->window());
        if (!self || !m_view)
            return;
    }
    CaError error;
    if (answer == Conflict::TakeStored)
        error = takeStoredVersion(patient);
    else if (answer == Conflict::KeepMine)
        error = DataIOManager::storePatientOverOthers(patient);
    if (mayAsk && answer != Conflict::Leave)
        m_view->load();
    if (error != CaError::nullError)
        m_view->showMessage(answer == Conflict::KeepMine ? notStored(error) : notLoaded(error));
}

// There is only one of the current patient, so that nobody works on an old copy.
DataPointer<Patient> PatientsModule::selectedPatient() {
    const vlr::URI uri = m_view->selectedPatient();
    DataPointer<Patient> patient = AppBase::getCurrentPatient();
    if (!uri.isValid())
        return {};
    if (patient && patient->storage().uri == uri) {
        followStored(true);
        return m_view ? AppBase::getCurrentPatient() : DataPointer<Patient>();
    }
    patient = nullptr;
    const CaError error = DataIOManager::loadPatient(uri, patient);
    m_view->showMessage(error == CaError::nullError ? QString() : notLoaded(error));
    return patient;
}

void PatientsModule::makeCurrent() {
    const DataPointer<Patient> patient = selectedPatient();
    if (patient && mayLeaveFor(patient))
        AppBase::setCurrentPatient(patient);
}

// One question about all that the former patient loses. His changes are stored before, since only
// then it is known whether they are lost, too; whoever answers "No" goes on with what is stored.
bool PatientsModule::mayLeaveFor(const DataPointer<Patient>& next) {
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    if (!current || isSamePatient(current, next))
        return true;
    QStringList losses(m_work ? m_work() : QString());
    if (DataIOManager::hasUnstoredChanges(current)) {
        const CaError error = DataIOManager::storePatient(current);
        if (error != CaError::nullError)
            losses << tr("Changes of his data are lost. %1").arg(notStored(error));
    }
    losses.removeAll(QString());
    if (losses.isEmpty())
        return true;
    const QString question = tr("Shall %1 be the current patient instead of %2?")
                                 .arg(nameAndId(*next), nameAndId(*current));
    losses.prepend(question);
    // Whoever made another patient the current one meanwhile was not asked about that.
    return confirm(m_view->window(), tr("Change the current patient"),
                   losses.join(QStringLiteral("\n\n"))) &&
           AppBase::getCurrentPatient() == current;
}

void PatientsModule::showCurrentPatient() {
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    if (m_view)
        m_view->setCurrentPatient(current ? current->storage().uri : vlr::URI());
    m_newStudy->setEnabled(static_cast<bool>(current));
    if (current)
        m_options->setLastPatientId(current->patientId());
}
