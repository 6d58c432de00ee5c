#pragma once

#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationWidget.h"

#include <QtCore/QDate>

class Patient;
class PatientConfiguration;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLineEdit;
class QPushButton;
class QtMessageLine;
class QDateEdit;
template <class Base>
class TypedDateEdit;

/// The form of a patient. A new one, which has no id yet, begins with a free id and the values
/// that were saved as default; the id of an existing one cannot be changed.
///
/// Id and name are taken in their normalized form (vlr::normalizedId()). Characters that cannot be
/// seen are removed with a word, and what is left is to be confirmed by another ok(). So is a new
/// id that people easily take for that of a stored patient, who is named beside the field: it is
/// refused until the box "It is another patient" is checked.
///
/// Not every date of birth is known: then "Not known" is checked, the field is empty, and the
/// patient keeps an invalid date until one is entered. What is typed is read as a whole (see
/// DateText.h); what is not understood stays in the field and is refused with the reason below it.
/// A date in the future is marked as unlikely. A stored one before 1900 is shown and kept, but no
/// such date can be entered.
class VLR_GUI_EXPORT QtPatientConfigurationWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    QtPatientConfigurationWidget(Data* data, QString argument, QWidget* parent,
                                 Qt::WindowFlags flags);
    ~QtPatientConfigurationWidget() override;

    /// The ids of errors of a store function whose texts are told beside the id and the name.
    /// That of DataIOManager::idTakenError is as well, and a free id is offered with it.
    static const char* const idError;
    static const char* const nameError;

    /// False, with the reason below the field, for a new id without a visible character or one to
    /// be confirmed, a name to be confirmed, and a date of birth that is none. Nothing is written
    /// to the patient then.
    bool ok() override;
    bool canSaveAsDefault() override;
    /// Durably, for the forms of patients to come. Refused where the date of birth is none.
    void saveAsDefault() override;
    bool showStoreError(const CaError& error) override;

private:
    void createFields();
    void createBirthDate();
    QtMessageLine* addField(const QString& label, QWidget* field, QWidget* buddy = nullptr);
    void fillFromPatient();
    void fillFromDefaults();
    void showSex(int sex);
    void showBirthDate(const QDate& date);
    void markBirthDate(bool isNotKnown);
    void followBirthDate();
    bool judgeBirthDate();
    bool judgeId();
    bool judgeLookalikes();
    bool judgeName();
    void warnOfLookalikes();
    QString storedId() const;
    void showIdReadOnly();
    QDate enteredBirthDate() const;
    QString getUniqueId();
    void showIdTaken();
    void useFreeId();
    void clearIdMessage();
    void followId();

    DataPointer<Patient> m_patient;
    DataPointer<PatientConfiguration> m_defaults;
    QGridLayout* m_grid = nullptr;
    QLineEdit* m_id = nullptr;
    QLineEdit* m_name = nullptr;
    QComboBox* m_sex = nullptr;
    TypedDateEdit<QDateEdit>* m_birthDate = nullptr;
    QCheckBox* m_birthDateNotKnown = nullptr;
    QtMessageLine* m_idMessage = nullptr;
    QtMessageLine* m_nameMessage = nullptr;
    QtMessageLine* m_birthDateMessage = nullptr;
    QPushButton* m_useFreeId = nullptr;
    QCheckBox* m_isAnotherPatient = nullptr;
    QString m_freeId; ///< The one that was offered last.
};

VLR_REGISTER_DATA_WIDGET(QtPatientConfigurationWidget, VLR_GUI_EXPORT)
