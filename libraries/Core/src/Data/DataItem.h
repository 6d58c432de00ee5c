#pragma once

#include "Data/ConfigurationRecord.h"

/// Something acquired for a patient: an image, a volume, a recording.
class VLR_CORE_EXPORT DataItem : public DataRecord<DataItem, Data> {
public:
    static constexpr const char* className = "DataItem";

    const QString& title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }

protected:
    ~DataItem() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("Title", &DataItem::m_title));
    }

    QString m_title;
};

VLR_DECLARE_RECORD_FACTORY(DataItem, VLR_CORE_EXPORT)
