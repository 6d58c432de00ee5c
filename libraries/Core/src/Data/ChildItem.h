#pragma once

#include "Data/ConfigurationRecord.h"

/// A part of another item that is of use only together with it: a contour, a label.
class VLR_CORE_EXPORT ChildItem : public DataRecord<ChildItem, Data> {
public:
    static constexpr const char* className = "ChildItem";

    const QString& title() const { return m_title; }
    void setTitle(const QString& title) { m_title = title; }

protected:
    ~ChildItem() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("Title", &ChildItem::m_title));
    }

    QString m_title;
};

VLR_DECLARE_RECORD_FACTORY(ChildItem, VLR_CORE_EXPORT)
