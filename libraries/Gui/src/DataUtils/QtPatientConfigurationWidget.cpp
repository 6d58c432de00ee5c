#include "DataUtils/QtPatientConfigurationWidget.h"

#include "Base/QtMessageLine.h"
#include "Data/Patient.h"
#include "Data/PatientText.h"
#include "DataUtils/FreePatientId.h"
#include "DataUtils/PatientConfiguration.h"
#include "DataUtils/StoredDefaults.h"
#include "DataUtils/TypedDateEdit.h"
#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateEdit>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

const char* const QtPatientConfigurationWidget::idError = "QtPatientConfigurationWidget::idError";
const char* const QtPatientConfigurationWidget::nameError =
    "QtPatientConfigurationWidget::nameError";

namespace {

constexpr int fieldWidth = 320;
const char* const sourceFile = "libraries/Gui/src/DataUtils/QtPatientConfigurationWidget";
const QString defaultsName = QStringLiteral("PatientDefaults");
const char* const birthDateError = "QtPatientConfigurationWidget::birthDateError";
const QDate earliestBirthDate(1900, 1, 1);

QString textOf(const CaError& error) {
    return QString::fromStdString(error.text());
}

// Puts the normalized text into the field. False, with a word about it, where characters went that
// could not be seen: with them it may have looked like another text.
bool takeNormalized(QLineEdit& field, QString (*normalized)(const QString&),
                    QtMessageLine& message) {
    const QString typed = field.text();
    const QString text = normalized(typed);
    if (text == typed)
        return true;
    const QString inner = typed.trimmed();
    const QString seen = vlr::visibleText(inner);
    field.setText(text);
    if (seen == inner)
        return true;
    message.showError(QtPatientConfigurationWidget::tr("Characters that cannot be seen were "
                                                       "removed from \"%1\". Check what is left.")
                          .arg(seen));
    return false;
}

} // namespace

QtPatientConfigurationWidget::QtPatientConfigurationWidget(Data* data, QString argument,
                                                           QWidget* parent, Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_patient(dynamic_cast<Patient*>(data)) {
    if (!m_patient) {
        VLR_LOG(CaError) << "QtPatientConfigurationWidget::"
                         << "QtPatientConfigurationWidget(): "
                         << "No patient given!";
        return;
    }
    createPatientConfigurationFactory();
    m_defaults = vlr::defaultRecord<PatientConfiguration>(configuration(), defaultsName);
    createFields();
    if (m_patient->id().isEmpty() && m_patient->patientId().isEmpty())
        fillFromDefaults();
    else
        fillFromPatient();
    QLineEdit* const first = m_id->isReadOnly() ? m_name : m_id;
    setFocusProxy(first);
    first->setFocus();
}

QtPatientConfigurationWidget::~QtPatientConfigurationWidget() = default;

// --- fields

void QtPatientConfigurationWidget::createFields() {
    m_grid = new QGridLayout(this);
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setColumnStretch(1, 1);
    m_id = new QLineEdit(this);
    m_id->setObjectName(QStringLiteral("patientId"));
    m_id->setMinimumWidth(fieldWidth);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("patientName"));
    m_sex = new QComboBox(this);
    m_sex->setObjectName(QStringLiteral("patientSex"));
    m_sex->addItem(tr("Unkown"), Patient::Unknown);
    m_sex->addItem(tr("Male"), Patient::Male);
    m_sex->addItem(tr("Female"), Patient::Female);

    m_idMessage = addField(tr("Patient &ID:"), m_id);
    m_idMessage->setObjectName(QStringLiteral("idMessage"));
    m_useFreeId = new QPushButton(this);
    m_useFreeId->setObjectName(QStringLiteral("useFreeId"));
    m_useFreeId->hide();
    m_grid->addWidget(m_useFreeId, m_grid->rowCount(), 1, Qt::AlignLeft);
    m_isAnotherPatient = new QCheckBox(tr("I&t is another patient"), this);
    m_isAnotherPatient->setObjectName(QStringLiteral("isAnotherPatient"));
    m_isAnotherPatient->hide();
    m_grid->addWidget(m_isAnotherPatient, m_grid->rowCount(), 1, Qt::AlignLeft);
    m_nameMessage = addField(tr("Patient &Name:"), m_name);
    m_nameMessage->setObjectName(QStringLiteral("nameMessage"));
    addField(tr("Patient &Sex:"), m_sex);
    createBirthDate();
    m_grid->setRowStretch(m_grid->rowCount(), 1);

    connect(m_useFreeId, &QPushButton::clicked, this, &QtPatientConfigurationWidget::useFreeId);
    connect(m_id, &QLineEdit::textEdited, this, &QtPatientConfigurationWidget::followId);
    connect(m_id, &QLineEdit::editingFinished, this,
            &QtPatientConfigurationWidget::warnOfLookalikes);
    connect(m_name, &QLineEdit::textEdited, m_nameMessage, &QtMessageLine::clear);
    QWidget* previous = m_id;
    for (QWidget* next : std::initializer_list<QWidget*>{m_useFreeId, m_isAnotherPatient, m_name,
                                                         m_sex, m_birthDate, m_birthDateNotKnown}) {
        setTabOrder(previous, next);
        previous = next;
    }
}

void QtPatientConfigurationWidget::createBirthDate() {
    auto* field = new QWidget(this);
    m_birthDate = new TypedDateEdit<QDateEdit>(field);
    m_birthDate->setObjectName(QStringLiteral("patientBirthDate"));
    m_birthDate->setAccessibleName(tr("Patient Date of Birth"));
    m_birthDate->setDisplayFormat(QStringLiteral("dd MMM yyyy"));
    m_birthDate->setCalendarPopup(true);
    m_birthDate->setMinimumDate(earliestBirthDate);
    m_birthDate->editor()->setPlaceholderText(tr("Day Month Year"));
    m_birthDateNotKnown = new QCheckBox(tr("Not &known"), field);
    m_birthDateNotKnown->setObjectName(QStringLiteral("birthDateNotKnown"));
    auto* row = new QHBoxLayout(field);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_birthDate, 1);
    row->addWidget(m_birthDateNotKnown);
    m_birthDateMessage = addField(tr("Patient Date of &Birth:"), field, m_birthDate);
    m_birthDateMessage->setObjectName(QStringLiteral("birthDateMessage"));
    using Self = QtPatientConfigurationWidget;
    connect(m_birthDateNotKnown, &QCheckBox::toggled, this, &Self::markBirthDate);
    connect(m_birthDateNotKnown, &QCheckBox::clicked, this, [this](bool isNotKnown) {
        if (!isNotKnown)
            m_birthDate->setFocus();
    });
    connect(m_birthDate->editor(), &QLineEdit::textChanged, this, &Self::followBirthDate);
    connect(m_birthDate, &QDateEdit::dateChanged, this, &Self::followBirthDate);
    connect(m_birthDate, &QDateEdit::editingFinished, this, &Self::judgeBirthDate);
}

// What is wrong with a field is said below it.
QtMessageLine* QtPatientConfigurationWidget::addField(const QString& label, QWidget* field,
                                                      QWidget* buddy) {
    auto* text = new QLabel(label, this);
    text->setBuddy(buddy ? buddy : field);
    auto* message = new QtMessageLine(this);
    const int row = m_grid->rowCount();
    m_grid->addWidget(text, row, 0);
    m_grid->addWidget(field, row, 1);
    m_grid->addWidget(message, row + 1, 1);
    return message;
}

void QtPatientConfigurationWidget::fillFromPatient() {
    m_id->setText(vlr::visibleText(storedId()));
    showIdReadOnly();
    m_name->setText(m_patient->name());
    const QString name = vlr::visibleText(m_patient->name());
    if (name != m_patient->name())
        m_nameMessage->showMessage(
            QStringLiteral("Warning"),
            tr("The name contains characters that cannot be seen: \"%1\".").arg(name));
    showSex(m_patient->sex());
    showBirthDate(m_patient->birthDate());
}

QString QtPatientConfigurationWidget::storedId() const {
    return m_patient->patientId().isEmpty() ? m_patient->id() : m_patient->patientId();
}

// It can still be marked and copied.
void QtPatientConfigurationWidget::showIdReadOnly() {
    m_id->setReadOnly(true);
    QPalette colors = m_id->palette();
    colors.setColor(QPalette::Base, colors.color(QPalette::Window));
    m_id->setPalette(colors);
    m_id->setToolTip(tr("The id of a stored patient cannot be changed."));
}

void QtPatientConfigurationWidget::fillFromDefaults() {
    m_freeId = getUniqueId();
    m_id->setText(m_freeId);
    m_name->setText(QString::fromStdString(m_defaults->name()));
    showSex(m_defaults->sex());
    showBirthDate(m_defaults->birthDate());
}

void QtPatientConfigurationWidget::showSex(int sex) {
    m_sex->setCurrentIndex(m_sex->findData(sex));
}

// The calendar opens at the present where no date is known.
void QtPatientConfigurationWidget::showBirthDate(const QDate& date) {
    const QDate shown = date.isValid() ? date : QDate::currentDate();
    m_birthDate->keep(QDateTime(shown, QTime(0, 0), Qt::UTC));
    m_birthDateNotKnown->setChecked(!date.isValid());
    judgeBirthDate();
}

void QtPatientConfigurationWidget::markBirthDate(bool isNotKnown) {
    if (isNotKnown)
        m_birthDate->showNothing();
    m_birthDate->setAccessibleDescription(isNotKnown ? tr("Not known") : QString());
    m_birthDateMessage->clear();
}

// Whoever enters a date knows it. What is wrong with it is said when it is complete.
void QtPatientConfigurationWidget::followBirthDate() {
    if (!m_birthDate->isBlank())
        m_birthDateNotKnown->setChecked(false);
    if (m_birthDate->entry().problem.isEmpty())
        judgeBirthDate();
    else
        m_birthDateMessage->clear();
}

// Clocks may be wrong, so it is the user who decides about the future.
bool QtPatientConfigurationWidget::judgeBirthDate() {
    if (!m_birthDate->isBlank())
        m_birthDateNotKnown->setChecked(false);
    m_birthDateMessage->clear();
    if (m_birthDateNotKnown->isChecked())
        return true;
    const vlr::ReadDate entry = m_birthDate->entry();
    if (m_birthDate->isBlank())
        m_birthDateMessage->showError(tr("Enter the date, or choose \"Not known\"."));
    else if (!entry.problem.isEmpty())
        m_birthDateMessage->showError(entry.problem);
    else if (entry.value.date() > QDate::currentDate())
        m_birthDateMessage->showMessage(QStringLiteral("Warning"),
                                        tr("This date lies in the future."));
    else if (entry.value.date() < earliestBirthDate)
        m_birthDateMessage->showMessage(
            QStringLiteral("Information"),
            tr("This date is kept, though none before 1900 can be entered."));
    return entry.problem.isEmpty();
}

QDate QtPatientConfigurationWidget::enteredBirthDate() const {
    return m_birthDateNotKnown->isChecked() ? QDate() : m_birthDate->entry().value.date();
}

bool QtPatientConfigurationWidget::judgeId() {
    if (m_id->isReadOnly())
        return true;
    if (vlr::normalizedId(m_id->text()).isEmpty()) {
        m_idMessage->showError(tr("Enter the id of the patient."));
        return false;
    }
    return takeNormalized(*m_id, &vlr::normalizedId, *m_idMessage) && judgeLookalikes();
}

// A repository that cannot be read does not take the patient either, and says why then.
bool QtPatientConfigurationWidget::judgeLookalikes() {
    std::vector<MetaInformation> patients;
    if (m_isAnotherPatient->isChecked() ||
        DataIOManager::patientsLike(m_id->text(), patients) != CaError::nullError ||
        patients.empty())
        return true;
    const MetaInformation& first = patients.front();
    QString message = tr("This id is easily taken for \"%1\" of the patient \"%2\". If he is the "
                         "same, choose \"Cancel\" and work with the stored patient.")
                          .arg(vlr::visibleText(first.value(QStringLiteral("id"))),
                               vlr::visibleText(first.value(QStringLiteral("name"))));
    if (patients.size() > 1)
        message += QLatin1Char(' ') +
                   tr("There are %1 such patients.").arg(static_cast<int>(patients.size()));
    m_idMessage->showMessage(QStringLiteral("Warning"), message);
    m_isAnotherPatient->show();
    return false;
}

// Before the other fields are filled in for nothing.
void QtPatientConfigurationWidget::warnOfLookalikes() {
    if (m_id->isModified() && !m_id->isReadOnly() && m_idMessage->text().isEmpty())
        (void)judgeLookalikes();
}

// One that is stored stays as it is until it is changed.
bool QtPatientConfigurationWidget::judgeName() {
    return m_name->text() == m_patient->name() ||
           takeNormalized(*m_name, &vlr::normalizedText, *m_nameMessage);
}

// --- results

bool QtPatientConfigurationWidget::ok() {
    if (!m_patient)
        return true;
    const bool hasId = judgeId();
    const bool hasName = judgeName();
    const bool hasBirthDate = judgeBirthDate();
    if (!hasId || !hasName || !hasBirthDate) {
        QWidget* const id =
            m_isAnotherPatient->isHidden() ? static_cast<QWidget*>(m_id) : m_isAnotherPatient;
        QWidget* const other = hasName ? static_cast<QWidget*>(m_birthDate) : m_name;
        (hasId ? other : id)->setFocus();
        return false;
    }
    const QString id = m_id->isReadOnly() ? storedId() : m_id->text();
    m_patient->setId(id);
    m_patient->setPatientId(id);
    m_patient->setName(m_name->text());
    m_patient->setSex(static_cast<Patient::Sex>(m_sex->currentData().toInt()));
    m_patient->setBirthDate(enteredBirthDate());
    return true;
}

bool QtPatientConfigurationWidget::canSaveAsDefault() {
    return true;
}

void QtPatientConfigurationWidget::saveAsDefault() {
    if (!m_defaults)
        return;
    if (!judgeBirthDate()) {
        setDefaultsError(CaError(birthDateError, m_birthDateMessage->text().toStdString()));
        return;
    }
    m_defaults->setCisId(m_id->text().toStdString());
    m_defaults->setName(m_name->text().toStdString());
    m_defaults->setSex(static_cast<Patient::Sex>(m_sex->currentData().toInt()));
    m_defaults->setBirthDate(enteredBirthDate());
    setDefaultsError(vlr::storeDefaults(defaultsName, m_defaults));
}

// --- ids

QString QtPatientConfigurationWidget::getUniqueId() {
    std::vector<QString> ids;
    const CaError error = DataIOManager::patientIds(ids);
    if (error != CaError::nullError) {
        constexpr int userLine = 190;
        constexpr int errorLine = 193;
        vlr::Log::getInstance("UERROR", sourceFile, userLine)
            << "Could not read local patient repository.\n"
            << "Reason: " << error;
        vlr::Log::getInstance("ERROR", sourceFile, errorLine)
            << "Could not read local patient repository.\n"
            << "Reason: " << error;
    }
    return vlr::firstFreePatientId(ids, Patient::getMaxPatientID());
}

bool QtPatientConfigurationWidget::showStoreError(const CaError& error) {
    if (!m_patient)
        return false;
    clearIdMessage();
    m_nameMessage->clear();
    if (error.id() == nameError) {
        m_nameMessage->showError(textOf(error));
        m_name->setFocus();
        return true;
    }
    const bool concernsId = error.id() == idError || error.id() == DataIOManager::idTakenError;
    if (!concernsId)
        return false;
    m_idMessage->showError(textOf(error));
    if (error.id() == DataIOManager::idTakenError && !m_id->isReadOnly())
        showIdTaken();
    m_id->setFocus();
    m_id->selectAll();
    return true;
}

void QtPatientConfigurationWidget::showIdTaken() {
    const QString taken = m_id->text();
    // An id that was free when it was offered went to another workstation.
    if (taken == m_freeId)
        m_idMessage->showError(
            tr("Another patient was stored with the id %1 in the meantime.").arg(taken));
    m_freeId = getUniqueId();
    m_useFreeId->setText(tr("&Use the free id %1").arg(m_freeId));
    m_useFreeId->setVisible(!m_freeId.isEmpty());
}

void QtPatientConfigurationWidget::useFreeId() {
    m_id->setText(m_freeId);
    m_id->setFocus();
    followId();
}

void QtPatientConfigurationWidget::clearIdMessage() {
    m_idMessage->clear();
    m_useFreeId->hide();
}

void QtPatientConfigurationWidget::followId() {
    clearIdMessage();
    m_isAnotherPatient->hide();
    m_isAnotherPatient->setChecked(false);
}
