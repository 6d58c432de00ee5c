#include "Patients/PatientsOptionsWidget.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QVBoxLayout>

PatientsOptionsWidget::PatientsOptionsWidget(Data* data, QString argument, QWidget* parent,
                                             Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_options(dynamic_cast<PatientsOptions*>(data)),
      m_selectsLastPatient(
          new QCheckBox(tr("&Select the patient of the last time at the start"), this)) {
    m_selectsLastPatient->setObjectName(QStringLiteral("selectsLastPatient"));
    m_selectsLastPatient->setChecked(m_options && m_options->selectsLastPatient());
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_selectsLastPatient);
    column->addStretch(1);
}

bool PatientsOptionsWidget::ok() {
    if (m_options)
        m_options->setSelectsLastPatient(m_selectsLastPatient->isChecked());
    return true;
}
