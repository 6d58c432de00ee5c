#pragma once

#include "Data/ConfigurationRecord.h"
#include "vlrNavigationExport.h"

/// A data item that moves with a tracked tool, such as the images of a patient with the reference
/// base fixed to him.
///
///     data->setReferenceName("Reference base");
class VLR_NAVIGATION_EXPORT TrackableData : public DataRecord<TrackableData, Data> {
public:
    static constexpr const char* className = "TrackableData";

    /// The name of the tool that the item is attached to. Without one the answer is false, and
    /// `name` stays as it is.
    bool getReferenceName(std::string& name) const;
    void setReferenceName(const std::string& name); ///< UTF-8; an empty name detaches the item.

protected:
    ~TrackableData() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("ReferenceName", &TrackableData::m_referenceName));
    }

    QString m_referenceName;
};

VLR_DECLARE_RECORD_FACTORY(TrackableData, VLR_NAVIGATION_EXPORT)
