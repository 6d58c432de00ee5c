#include "Common/CurrentPatientBanner.h"

#include "AppBase/AppBase.h"
#include "Base/QtElidedLabel.h"
#include "Common/PatientText.h"
#include "Data/PatientText.h"
#include "IO/DataIOManager.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

CurrentPatientBanner::CurrentPatientBanner(QWidget* parent)
    : QFrame(parent), m_name(new QtElidedLabel(Qt::ElideRight, this)),
      m_id(new QtElidedLabel(Qt::ElideMiddle, this)),
      m_details(new QtElidedLabel(Qt::ElideRight, this)), m_unprotected(new QLabel(this)) {
    setFrameShape(QFrame::StyledPanel);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    QFont large = font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * 1.15);
    m_name->setFont(large);
    m_name->setObjectName(QStringLiteral("currentPatientName"));
    m_id->setObjectName(QStringLiteral("currentPatientId"));

    auto* column = new QVBoxLayout(this);
    column->setSpacing(2);
    for (QtElidedLabel* label : {m_name, m_id, m_details})
        column->addWidget(label);
    m_unprotected->setObjectName(QStringLiteral("patientsUnprotected"));
    m_unprotected->setTextFormat(Qt::PlainText);
    m_unprotected->setWordWrap(true);
    m_unprotected->setStyleSheet(
        QStringLiteral("background: #b00020; color: white; padding: 3px; font-weight: bold"));
    column->addWidget(m_unprotected);
    showProtection();
    startTimer(2000); // Nobody tells of a setting that another program changes.

    if (AppBase* application = AppBase::instance())
        m_patientChanges = CaConnection(*application, AppBase::CURRENT_PATIENT_CHANGED,
                                        [this](auto&&...) { followPatient(); });
    followPatient();
}

void CurrentPatientBanner::timerEvent(QTimerEvent*) {
    showProtection();
}

void CurrentPatientBanner::showProtection() {
    const QString why = QString::fromStdString(DataIOManager::whyUnprotected());
    m_unprotected->setText(why);
    m_unprotected->setVisible(!why.isEmpty());
}

void CurrentPatientBanner::followPatient() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    m_valueChanges = patient
                         ? CaConnection(*patient, Data::CHANGED, [this](auto&&...) { refresh(); })
                         : CaConnection();
    refresh();
}

void CurrentPatientBanner::refresh() {
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    m_name->setFullText(patient ? vlr::visibleText(patient->name()) : tr("No patient chosen"));
    m_id->setFullText(patient ? tr("Id %1").arg(vlr::visibleText(patient->patientId()))
                              : QString());
    m_details->setFullText(
        patient ? tr("%1, born %2").arg(sexText(patient->sex()), dateText(patient->birthDate()))
                : QString());
}
