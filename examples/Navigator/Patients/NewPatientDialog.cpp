#include "Patients/NewPatientDialog.h"

#include "Common/MessageLine.h"
#include "Common/PatientText.h"
#include "Data/Study.h"
#include "IO/DataIOManager.h"
#include "Patients/PatientId.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

namespace {

constexpr int maximumTextLength = 200;
constexpr int fieldWidth = 320;
const QDate earliestBirthDate(1900, 1, 1);

} // namespace

NewPatientDialog::NewPatientDialog(QWidget* parent)
    : QDialog(parent), m_grid(new QGridLayout), m_id(new QLineEdit(this)),
      m_name(new QLineEdit(this)), m_sex(new QComboBox(this)), m_birthDate(new QDateEdit(this)),
      m_birthDateNotKnown(new QCheckBox(tr("Not &known"), this)), m_message(new MessageLine(this)),
      m_useFreeId(new QPushButton(this)) {
    setWindowTitle(tr("New patient"));
    setWindowModality(Qt::WindowModal);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addLayout(m_grid);
    createFields();
    column->addWidget(m_message);
    column->addSpacing(9);
    createButtons();
    offerFreeId();
    m_id->setText(m_freeId);
    m_name->setFocus();
}

void NewPatientDialog::createFields() {
    m_id->setObjectName(QStringLiteral("patientId"));
    m_name->setObjectName(QStringLiteral("patientName"));
    m_sex->setObjectName(QStringLiteral("patientSex"));
    m_useFreeId->setObjectName(QStringLiteral("useFreeId"));
    m_message->setObjectName(QStringLiteral("message"));
    m_id->setMaxLength(maximumTextLength);
    m_id->setMinimumWidth(fieldWidth);
    m_name->setMaxLength(maximumTextLength);
    for (const auto sex : {Patient::Unknown, Patient::Female, Patient::Male})
        m_sex->addItem(sexText(sex), sex);

    m_idMessage = addField(tr("&Id:"), m_id);
    m_idMessage->setObjectName(QStringLiteral("idMessage"));
    m_grid->addWidget(m_useFreeId, m_grid->rowCount(), 1, Qt::AlignLeft);
    m_useFreeId->setAutoDefault(false);
    m_useFreeId->hide();
    connect(m_useFreeId, &QPushButton::clicked, this, [this] {
        m_id->setText(m_freeId);
        clearMessages();
        m_id->setFocus();
    });
    m_nameMessage = addField(tr("&Name:"), m_name);
    m_nameMessage->setObjectName(QStringLiteral("nameMessage"));
    connect(m_name, &QLineEdit::textEdited, m_nameMessage, &MessageLine::clear);
    addField(tr("Se&x:"), m_sex);
    createBirthDate();
    // The button was made after the fields, but stands below the first of them.
    setTabOrder(m_id, m_useFreeId);
    setTabOrder(m_useFreeId, m_name);
}

void NewPatientDialog::createBirthDate() {
    m_birthDate->setObjectName(QStringLiteral("patientBirthDate"));
    m_birthDate->setDisplayFormat(dateFormat());
    m_birthDate->setCalendarPopup(true);
    m_birthDate->setDateRange(earliestBirthDate, QDate::currentDate());
    m_birthDate->setDate(QDate::currentDate());
    connect(m_birthDateNotKnown, &QCheckBox::toggled, m_birthDate, &QWidget::setDisabled);
    auto* field = new QWidget(this);
    auto* row = new QHBoxLayout(field);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_birthDate, 1);
    row->addWidget(m_birthDateNotKnown);
    addField(tr("&Date of birth:"), field, m_birthDate);
}

MessageLine* NewPatientDialog::addField(const QString& label, QWidget* field, QWidget* buddy) {
    auto* text = new QLabel(label, this);
    text->setBuddy(buddy ? buddy : field);
    auto* message = new MessageLine(this);
    const int row = m_grid->rowCount();
    m_grid->addWidget(text, row, 0);
    m_grid->addWidget(field, row, 1);
    m_grid->addWidget(message, row + 1, 1);
    return message;
}

void NewPatientDialog::createButtons() {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this);
    QPushButton* const save = buttons->button(QDialogButtonBox::Save);
    save->setObjectName(QStringLiteral("save"));
    save->setText(tr("&Save"));
    save->setDefault(true);
    layout()->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &NewPatientDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &NewPatientDialog::reject);
}

void NewPatientDialog::offerFreeId() {
    std::vector<MetaInformation> patients;
    const CaError error = DataIOManager::patientMetaInfoList(patients);
    m_freeId.clear();
    if (error != CaError::nullError)
        showError(error);
    else
        m_freeId = firstFreePatientId(patients, Patient::getMaxPatientID());
}

DataPointer<Patient> NewPatientDialog::typedPatient() const {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(m_id->text().trimmed());
    patient->setName(m_name->text().trimmed());
    patient->setSex(static_cast<Patient::Sex>(m_sex->currentData().toInt()));
    if (!m_birthDateNotKnown->isChecked())
        patient->setBirthDate(m_birthDate->date());
    const DataPointer<Study> study(new Study);
    const QDateTime now = QDateTime::currentDateTime();
    study->setDate(now.date());
    study->setTime(now.time());
    (void)patient->addChild(study, true);
    return patient;
}

void NewPatientDialog::accept() {
    clearMessages();
    const DataPointer<Patient> patient = typedPatient();
    if (patient->name().isEmpty()) {
        m_nameMessage->showError(tr("Enter the name of the patient."));
        m_name->setFocus();
        return;
    }
    const CaError error = DataIOManager::storePatient(patient);
    if (error == CaError::nullError) {
        m_patient = patient;
        QDialog::accept();
    } else if (error.id() == DataIOManager::idTakenError) {
        showIdTaken();
    } else if (patient->patientId().isEmpty()) {
        m_idMessage->showError(QString::fromStdString(error.text()));
        m_id->setFocus();
    } else {
        showError(error);
    }
}

void NewPatientDialog::showIdTaken() {
    const QString taken = m_id->text().trimmed();
    // An id that was free when it was offered went to another workstation.
    const bool wasOffered = taken == m_freeId;
    offerFreeId();
    m_idMessage->showError(
        wasOffered ? tr("Another patient was stored with the id %1 in the meantime.").arg(taken)
                   : tr("Another patient already has the id %1.").arg(taken));
    m_useFreeId->setText(tr("&Use the free id %1").arg(m_freeId));
    m_useFreeId->setVisible(!m_freeId.isEmpty());
    m_id->setFocus();
    m_id->selectAll();
}

void NewPatientDialog::clearMessages() {
    for (MessageLine* message : {m_idMessage, m_nameMessage, m_message})
        message->clear();
    m_useFreeId->hide();
}

void NewPatientDialog::showError(const CaError& error) {
    m_message->showError(
        tr("The patient was not stored. %1").arg(QString::fromStdString(error.text())));
}
