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
///
/// What decides how the window is shown is the setting "Velora/Application/WindowShowMode". A show
/// mode that the user chooses here is therefore written there by ok() as well, before anybody
/// hears of the change; where that fails, he is told at "UERROR". As long as nothing is chosen the
/// setting stays, and the tool tip says where it differs from the record.
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
    QString showModeToolTip() const;
    bool isShowModeChosen() const;
    QWidget* createColors();
    QWidget* createOptions();
    void showColor(int index);

    DataPointer<AppBaseConfig> m_config;
    QComboBox* m_showMode = nullptr;
    bool m_isShowModePicked = false; ///< By hand, be it the one that was shown.
    QCheckBox* m_touchScreenMode = nullptr;
    QButtonGroup* m_colorButtons = nullptr;
    std::array<QColor, QuadViewConfig::colorCount> m_colors;
};

VLR_REGISTER_DATA_WIDGET(QtAppBaseConfigWidget, VLR_GUI_EXPORT)
