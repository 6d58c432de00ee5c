#pragma once

#include "Data/ConfigurationRecord.h"

/// Something a workflow step worked out for a patient: a plan, a registration, a measurement.
class VLR_CORE_EXPORT ProcessData : public DataRecord<ProcessData, Data> {
public:
    static constexpr const char* className = "ProcessData";

    const QString& title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }

protected:
    ~ProcessData() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("Title", &ProcessData::m_title));
    }

    QString m_title;
};

VLR_DECLARE_RECORD_FACTORY(ProcessData, VLR_CORE_EXPORT)
