#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "Patients/PatientsOptions.h"

class QCheckBox;

/// Edits the options of the module "Patients".
class PatientsOptionsWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    PatientsOptionsWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);

    bool ok() override;

private:
    DataPointer<PatientsOptions> m_options;
    QCheckBox* m_selectsLastPatient;
};

VLR_REGISTER_DATA_WIDGET(PatientsOptionsWidget, )
