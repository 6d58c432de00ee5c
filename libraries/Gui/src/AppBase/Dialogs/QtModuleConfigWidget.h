#pragma once

#include "AppBase/ModuleConfig.h"
#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationWidget.h"

class QSpinBox;

/// Edits the options that every module has: how many layouts of the four views it offers in
/// touch-screen mode, 0 to 10. Empty for other data than a ModuleConfig.
class VLR_GUI_EXPORT QtModuleConfigWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    QtModuleConfigWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);
    ~QtModuleConfigWidget() override;

    /// Always true. The sizes of layouts beyond the number are dropped. A number that nobody edited
    /// stays what it is, also one above 10.
    bool ok() override;

private:
    DataPointer<ModuleConfig> m_config;
    QSpinBox* m_count = nullptr;
    bool m_isEdited = false;
};

VLR_REGISTER_DATA_WIDGET(QtModuleConfigWidget, VLR_GUI_EXPORT)
