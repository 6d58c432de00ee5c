#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationWidget.h"

class QDateTimeEdit;
class QLineEdit;
class Study;
class StudyConfiguration;

/// The form of a study. A new one, which has neither institution nor date, begins with the
/// institution that was saved as default and at the present date and time. An existing one keeps
/// its date and time, also unknown ones, until somebody edits them.
class VLR_GUI_EXPORT QtStudyConfigurationWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    QtStudyConfigurationWidget(Data* data, QString argument, QWidget* parent,
                               Qt::WindowFlags flags);
    ~QtStudyConfigurationWidget() override;

    bool ok() override; ///< Always true. The time gets whole seconds.
    bool canSaveAsDefault() override;
    void saveAsDefault() override; ///< Durably, for the forms of studies to come.

private:
    void createFields();
    void fill();
    void markDateTime(bool isKnown);

    DataPointer<Study> m_study;
    DataPointer<StudyConfiguration> m_defaults;
    QLineEdit* m_institution = nullptr;
    QDateTimeEdit* m_dateTime = nullptr;
    bool m_keepsDateTime = false; ///< Nobody has edited what is stored.
};

VLR_REGISTER_DATA_WIDGET(QtStudyConfigurationWidget, VLR_GUI_EXPORT)
