#include "DataUtils/QtStudyConfigurationWidget.h"

#include "Base/QtMessageLine.h"
#include "Data/Study.h"
#include "DataUtils/StoredDefaults.h"
#include "DataUtils/StudyConfiguration.h"
#include "DataUtils/TypedDateEdit.h"
#include "Log/vlrLog.h"

#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

namespace {

constexpr int fieldWidth = 320;
const QString defaultsName = QStringLiteral("StudyDefaults");

QLabel* labelFor(QWidget* field, const QString& text) {
    auto* label = new QLabel(text, field->parentWidget());
    label->setBuddy(field);
    return label;
}

} // namespace

QtStudyConfigurationWidget::QtStudyConfigurationWidget(Data* data, QString argument,
                                                       QWidget* parent, Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_study(dynamic_cast<Study*>(data)) {
    if (!m_study) {
        constexpr int line = 87;
        vlr::Log::getInstance("CaERROR", "libraries/Gui/src/DataUtils/QtStudyConfigurationWidget",
                              line)
            << "QtStudyConfigurationWidget::"
            << "QtStudyConfigurationWidget(): "
            << "No study given!";
        return;
    }
    createStudyConfigurationFactory();
    m_defaults = vlr::defaultRecord<StudyConfiguration>(configuration(), defaultsName);
    createFields();
    fill();
    setFocusProxy(m_institution);
    m_institution->setFocus();
}

QtStudyConfigurationWidget::~QtStudyConfigurationWidget() = default;

void QtStudyConfigurationWidget::createFields() {
    m_institution = new QLineEdit(this);
    m_institution->setObjectName(QStringLiteral("studyInstitution"));
    m_institution->setMinimumWidth(fieldWidth);
    m_dateTime = new TypedDateEdit<QDateTimeEdit>(this);
    m_dateTime->setObjectName(QStringLiteral("studyDateTime"));
    m_dateTime->setDisplayFormat(QStringLiteral("dd MMM yyyy hh:mm:ss"));
    m_dateTime->setCalendarPopup(true);
    m_dateTime->editor()->setPlaceholderText(tr("Not known"));
    m_dateTimeMessage = new QtMessageLine(this);
    m_dateTimeMessage->setObjectName(QStringLiteral("dateTimeMessage"));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(labelFor(m_institution, tr("&Institution:")), 0, 0);
    grid->addWidget(m_institution, 0, 1);
    grid->addWidget(labelFor(m_dateTime, tr("Study Date && &Time:")), 1, 0);
    grid->addWidget(m_dateTime, 1, 1);
    grid->addWidget(m_dateTimeMessage, 2, 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(3, 1);
    setTabOrder(m_institution, m_dateTime);
}

void QtStudyConfigurationWidget::fill() {
    const bool isNew = !m_study->isStored();
    const bool hasDate = m_study->date().isValid();
    m_institution->setText(isNew && m_study->institution().isEmpty()
                               ? QString::fromStdString(m_defaults->institution())
                               : m_study->institution());
    const QDateTime now = QDateTime::currentDateTime();
    const QTime time = hasDate ? m_study->time() : now.time();
    m_dateTime->keep(QDateTime(hasDate ? m_study->date() : now.date(),
                               time.isValid() ? time : QTime(0, 0), Qt::UTC));
    m_keepsDateTime = hasDate || !isNew;
    if (!isNew && !hasDate) { // The calendar opens at the present.
        m_dateTime->showNothing();
        m_dateTime->setAccessibleDescription(tr("Not known"));
    }
    using Self = QtStudyConfigurationWidget;
    connect(m_dateTime->editor(), &QLineEdit::textChanged, this, &Self::followDateTime);
    connect(m_dateTime, &QDateTimeEdit::dateTimeChanged, this, &Self::followDateTime);
    connect(m_dateTime, &QDateTimeEdit::editingFinished, this, &Self::judgeDateTime);
}

// What is wrong with it is said when it is complete.
void QtStudyConfigurationWidget::followDateTime() {
    m_keepsDateTime = false;
    m_dateTime->setAccessibleDescription({});
    m_dateTimeMessage->clear();
}

bool QtStudyConfigurationWidget::judgeDateTime() {
    const QString problem = m_keepsDateTime ? QString() : m_dateTime->entry().problem;
    m_dateTimeMessage->showError(problem);
    return problem.isEmpty();
}

bool QtStudyConfigurationWidget::ok() {
    if (!m_study)
        return true;
    if (!judgeDateTime()) {
        m_dateTime->setFocus();
        return false;
    }
    m_study->setInstitution(m_institution->text());
    if (m_keepsDateTime)
        return true;
    const QDateTime value = m_dateTime->entry().value;
    const QTime time = value.time();
    m_study->setDate(value.date());
    m_study->setTime(QTime(time.hour(), time.minute(), time.second()));
    return true;
}

bool QtStudyConfigurationWidget::canSaveAsDefault() {
    return true;
}

void QtStudyConfigurationWidget::saveAsDefault() {
    if (!m_defaults)
        return;
    m_defaults->setInstitution(m_institution->text().toStdString());
    setDefaultsError(vlr::storeDefaults(defaultsName, m_defaults));
}
