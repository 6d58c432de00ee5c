#pragma once

#include "Data/ConfigurationRecord.h"
#include "Data/Patient.h"
#include "vlrGuiExport.h"

#include <string>

/// The values with which the form of a new patient begins. Texts are UTF-8.
class VLR_GUI_EXPORT PatientConfiguration : public ConfigurationRecord<PatientConfiguration> {
public:
    static constexpr const char* className = "PatientConfiguration";

    const std::string& name() const { return m_name; }
    void setName(std::string name) { m_name = std::move(name); }
    const std::string& cisId() const { return m_cisId; }
    void setCisId(std::string id) { m_cisId = std::move(id); }
    Patient::Sex sex() const { return m_sex; }
    void setSex(Patient::Sex sex) { m_sex = sex; }
    const QDate& birthDate() const { return m_birthDate; } ///< Invalid when not known.
    void setBirthDate(const QDate& date) { m_birthDate = date; }

protected:
    ~PatientConfiguration() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(
            attribute("Name", &PatientConfiguration::m_name),
            attribute("Id", &PatientConfiguration::m_cisId),
            attribute("Sex", &PatientConfiguration::m_sex, Patient::Unknown, Patient::Male),
            attribute("BirthDate", &PatientConfiguration::m_birthDate));
    }

    std::string m_name;
    std::string m_cisId;
    Patient::Sex m_sex = Patient::Unknown;
    QDate m_birthDate;
};

VLR_DECLARE_RECORD_FACTORY(PatientConfiguration, VLR_GUI_EXPORT)
