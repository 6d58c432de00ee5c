#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "Images/ImagesOptions.h"

class QCheckBox;

/// Edits the options of the module "Images".
class ImagesOptionsWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    ImagesOptionsWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);

    bool ok() override;

private:
    DataPointer<ImagesOptions> m_options;
    QCheckBox* m_opensLastImages;
};

VLR_REGISTER_DATA_WIDGET(ImagesOptionsWidget, )
