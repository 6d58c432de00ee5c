#pragma once

#include "Data/ConfigurationRecord.h"

#include <QtCore/QDate>
#include <QtCore/QTime>

/// One examination or operation of a patient; the child of a Patient.
class VLR_CORE_EXPORT Study : public DataRecord<Study, Data> {
public:
    static constexpr const char* className = "Study";

    const QString& institution() const { return m_institution; }
    void setInstitution(const QString& institution) { m_institution = institution; }
    const QDate& date() const { return m_date; }
    void setDate(const QDate& date) { m_date = date; }
    const QTime& time() const { return m_time; }
    void setTime(const QTime& time) { m_time = time; }

protected:
    ~Study() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("Institution", &Study::m_institution),
                               attribute("Date", &Study::m_date),
                               attribute("Time", &Study::m_time));
    }

    QString m_institution;
    QDate m_date;
    QTime m_time;
};

VLR_DECLARE_RECORD_FACTORY(Study, VLR_CORE_EXPORT)
