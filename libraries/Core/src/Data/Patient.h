#pragma once

#include "Data/ConfigurationRecord.h"

#include <QtCore/QDate>

/// A patient: the root of a tree of studies and data items.
///
///     DataPointer<Patient> patient(new Patient);
///     patient->setPatientId(QStringLiteral("0002"));
///     patient->setName(QStringLiteral("Doe^Jane"));
///     CaError error = DataIOManager::storePatient(patient);
class VLR_CORE_EXPORT Patient : public DataRecord<Patient, Data> {
public:
    static constexpr const char* className = "Patient";
    enum Sex : int { Unknown = 0, Female = 1, Male = 2 };

    /// The id by which the hospital knows the patient; unique in the repository. Data::id() is
    /// the name of the item in the tree and may differ.
    const QString& patientId() const { return m_patientId; }
    void setPatientId(const QString& id) { m_patientId = id; }
    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }
    Sex sex() const { return m_sex; }
    void setSex(Sex sex) { m_sex = sex; }
    const QDate& birthDate() const { return m_birthDate; } ///< Invalid when not known.
    void setBirthDate(const QDate& date) { m_birthDate = date; }

    /// Ids handed out for new patients lie below this number: the setting
    /// "Velora/Application/MaxPatientID", default 1,000,000.
    static int getMaxPatientID();

protected:
    ~Patient() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("PatientId", &Patient::m_patientId),
                               attribute("Name", &Patient::m_name),
                               attribute("Sex", &Patient::m_sex, Unknown, Male),
                               attribute("BirthDate", &Patient::m_birthDate));
    }

    QString m_patientId;
    QString m_name;
    Sex m_sex = Unknown;
    QDate m_birthDate;
};

VLR_DECLARE_RECORD_FACTORY(Patient, VLR_CORE_EXPORT)
