#pragma once

#include "Data/ConfigurationRecord.h"

/// What the module "Patients" remembers from one start to the next.
class PatientsOptions : public ConfigurationRecord<PatientsOptions> {
public:
    static constexpr const char* className = "NavigatorPatientsOptions";

    const QString& lastPatientId() const { return m_lastPatientId; }
    void setLastPatientId(const QString& id) { m_lastPatientId = id; }

protected:
    ~PatientsOptions() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("m_lastPatientId", &PatientsOptions::m_lastPatientId));
    }

    QString m_lastPatientId;
};

VLR_DECLARE_RECORD_FACTORY(PatientsOptions, )
