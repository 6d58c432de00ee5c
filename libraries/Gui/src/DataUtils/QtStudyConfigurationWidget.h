#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationWidget.h"

class QDateTimeEdit;
class QLineEdit;
class QtMessageLine;
class Study;
class StudyConfiguration;
template <class Base>
class TypedDateEdit;

/// The form of a study. A new one, which was never loaded or stored, begins with the institution
/// that was saved as default and at the present date and time where it has none of its own. An
/// existing one keeps its date and time, also unknown ones, until somebody edits them. What is
/// typed is read as a whole (see DateText.h); what is not understood stays in the field and is
/// refused with the reason below it.
class VLR_GUI_EXPORT QtStudyConfigurationWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    QtStudyConfigurationWidget(Data* data, QString argument, QWidget* parent,
                               Qt::WindowFlags flags);
    ~QtStudyConfigurationWidget() override;

    /// False, with the reason below the field and nothing written, for a date or time that is none.
    /// The time gets whole seconds.
    bool ok() override;
    bool canSaveAsDefault() override;
    void saveAsDefault() override; ///< Durably, for the forms of studies to come.

private:
    void createFields();
    void fill();
    void followDateTime();
    bool judgeDateTime();

    DataPointer<Study> m_study;
    DataPointer<StudyConfiguration> m_defaults;
    QLineEdit* m_institution = nullptr;
    TypedDateEdit<QDateTimeEdit>* m_dateTime = nullptr;
    QtMessageLine* m_dateTimeMessage = nullptr;
    bool m_keepsDateTime = false; ///< Nobody has edited what is stored.
};

VLR_REGISTER_DATA_WIDGET(QtStudyConfigurationWidget, VLR_GUI_EXPORT)
