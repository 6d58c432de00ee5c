#pragma once

#include "Data/Patient.h"
#include "Error/CaError.h"

#include <QtWidgets/QDialog>

class MessageLine;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QGridLayout;
class QLineEdit;
class QPushButton;

/// The form in which a new patient is entered and stored. What is wrong is said beside the field
/// that it concerns, and nothing that was typed is lost.
///
///     NewPatientDialog dialog(window);
///     if (dialog.exec() == QDialog::Accepted)
///         show(dialog.patient());
class NewPatientDialog : public QDialog {
    Q_OBJECT

public:
    explicit NewPatientDialog(QWidget* parent);

    const DataPointer<Patient>& patient() const { return m_patient; } ///< Null until stored.

public slots:
    void accept() override; ///< Stores the patient; the form stays open when that fails.

private:
    void createFields();
    void createBirthDate();
    MessageLine* addField(const QString& label, QWidget* field, QWidget* buddy = nullptr);
    void createButtons();
    void offerFreeId();
    DataPointer<Patient> typedPatient() const;
    void clearMessages();
    void showError(const CaError& error);
    void showIdTaken();

    QGridLayout* m_grid;
    QLineEdit* m_id;
    QLineEdit* m_name;
    QComboBox* m_sex;
    QDateEdit* m_birthDate;
    QCheckBox* m_birthDateNotKnown;
    MessageLine* m_idMessage = nullptr;
    MessageLine* m_nameMessage = nullptr;
    MessageLine* m_message;
    QPushButton* m_useFreeId;
    QString m_freeId; ///< The one that was offered last.
    DataPointer<Patient> m_patient;
};
