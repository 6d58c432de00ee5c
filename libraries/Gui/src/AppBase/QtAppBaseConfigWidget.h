#pragma once

#include "AppBase/AppBaseConfig.h"
#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationWidget.h"

#include <QtGui/QColor>

#include <array>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;

/// Edits the configuration of the application: how its window is shown, the four colours of the
/// viewer-manipulation buttons, touch-screen mode. Empty for other data than an AppBaseConfig.
class VLR_GUI_EXPORT QtAppBaseConfigWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    QtAppBaseConfigWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);
    ~QtAppBaseConfigWidget() override;

    bool ok() override; ///< Always true. Observers of the records hear of every change.

private slots:
    void colorButtonClicked(QAbstractButton* button);

private:
    QWidget* createShowMode();
    QWidget* createColors();
    QWidget* createOptions();
    void showColor(int index);

    DataPointer<AppBaseConfig> m_config;
    QComboBox* m_showMode = nullptr;
    QCheckBox* m_touchScreenMode = nullptr;
    QButtonGroup* m_colorButtons = nullptr;
    std::array<QColor, QuadViewConfig::colorCount> m_colors;
};

VLR_REGISTER_DATA_WIDGET(QtAppBaseConfigWidget, VLR_GUI_EXPORT)
