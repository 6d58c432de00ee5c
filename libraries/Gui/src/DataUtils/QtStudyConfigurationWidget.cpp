#include "DataUtils/QtStudyConfigurationWidget.h"

#include "Data/Study.h"
#include "DataUtils/StoredDefaults.h"
#include "DataUtils/StudyConfiguration.h"
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
    m_dateTime = new QDateTimeEdit(this);
    m_dateTime->setObjectName(QStringLiteral("studyDateTime"));
    // The time is the one on the wall: none is missing or shifted where clocks are changed.
    m_dateTime->setTimeSpec(Qt::UTC);
    m_dateTime->setDisplayFormat(QStringLiteral("dd MMM yyyy hh:mm:ss"));
    m_dateTime->setCalendarPopup(true);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(labelFor(m_institution, tr("&Institution:")), 0, 0);
    grid->addWidget(m_institution, 0, 1);
    grid->addWidget(labelFor(m_dateTime, tr("Study Date && &Time:")), 1, 0);
    grid->addWidget(m_dateTime, 1, 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(2, 1);
    setTabOrder(m_institution, m_dateTime);
}

void QtStudyConfigurationWidget::fill() {
    const bool isNew =
        !m_study->parent() && m_study->institution().isEmpty() && !m_study->date().isValid();
    m_institution->setText(isNew ? QString::fromStdString(m_defaults->institution())
                                 : m_study->institution());
    const QDateTime now = QDateTime::currentDateTime();
    const QDate date = m_study->date().isValid() ? m_study->date() : now.date();
    const QTime time = m_study->time().isValid() || !isNew ? m_study->time() : now.time();
    m_dateTime->setDateTime(QDateTime(date, time.isValid() ? time : QTime(0, 0), Qt::UTC));
    m_keepsDateTime = !isNew;
    markDateTime(isNew || m_study->date().isValid());
    connect(m_dateTime, &QDateTimeEdit::dateTimeChanged, this, [this] {
        m_keepsDateTime = false;
        markDateTime(true);
    });
}

// A date that does not count looks like one, and is announced like one.
void QtStudyConfigurationWidget::markDateTime(bool isKnown) {
    QPalette colors = palette();
    if (!isKnown)
        colors.setColor(QPalette::Text, colors.color(QPalette::Disabled, QPalette::Text));
    const QString text = isKnown ? QString() : tr("Not known");
    m_dateTime->setPalette(colors);
    m_dateTime->setAccessibleDescription(text);
    m_dateTime->setToolTip(text);
}

bool QtStudyConfigurationWidget::ok() {
    if (!m_study)
        return true;
    const QDate date = m_dateTime->date();
    const QTime time = m_dateTime->time();
    m_study->setInstitution(m_institution->text());
    if (m_keepsDateTime)
        return true;
    m_study->setDate(date);
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
