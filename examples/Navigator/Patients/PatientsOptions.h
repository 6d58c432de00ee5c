#pragma once

#include "Data/ConfigurationRecord.h"

/// What the module "Patients" remembers from one start to the next, and whether it makes use of
/// it.
class PatientsOptions : public ConfigurationRecord<PatientsOptions> {
public:
    static constexpr const char* className = "NavigatorPatientsOptions";

    const QString& lastPatientId() const { return m_lastPatientId; }
    void setLastPatientId(const QString& id) { m_lastPatientId = id; }
    bool selectsLastPatient() const { return m_selectsLastPatient; } ///< At the start.
    void setSelectsLastPatient(bool selects) { m_selectsLastPatient = selects; }

protected:
    ~PatientsOptions() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(
            attribute("m_lastPatientId", &PatientsOptions::m_lastPatientId),
            attribute("m_selectsLastPatient", &PatientsOptions::m_selectsLastPatient));
    }

    QString m_lastPatientId;
    bool m_selectsLastPatient = true;
};

VLR_DECLARE_RECORD_FACTORY(PatientsOptions, )
