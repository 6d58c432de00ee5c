#pragma once

#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

#include <string>

/// The values with which the form of a new study begins. Texts are UTF-8.
class VLR_GUI_EXPORT StudyConfiguration : public ConfigurationRecord<StudyConfiguration> {
public:
    static constexpr const char* className = "StudyConfiguration";

    const std::string& institution() const { return m_institution; }
    void setInstitution(std::string institution) { m_institution = std::move(institution); }

protected:
    ~StudyConfiguration() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("Institution", &StudyConfiguration::m_institution));
    }

    std::string m_institution;
};

VLR_DECLARE_RECORD_FACTORY(StudyConfiguration, VLR_GUI_EXPORT)
