#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "Tracking/TrackingOptions.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QStackedWidget;

/// Edits the options of the module "Tracking". Who is interested hears Data::CHANGED of them.
class TrackingOptionsWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    TrackingOptionsWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags);

    bool ok() override;

private:
    QWidget* networkPage();
    QWidget* recordingPage();
    void showValues(const SourceChoice& source);
    void chooseFile();

    DataPointer<TrackingOptions> m_options;
    QComboBox* m_kind;
    QStackedWidget* m_pages; ///< By SourceChoice::Kind.
    QLineEdit* m_host;
    QSpinBox* m_port;
    QLineEdit* m_file;
    QCheckBox* m_isFast;
};

VLR_REGISTER_DATA_WIDGET(TrackingOptionsWidget, )
