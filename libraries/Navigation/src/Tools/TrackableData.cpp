#include "Tools/TrackableData.h"

VLR_DEFINE_RECORD_FACTORY(TrackableData)

bool TrackableData::getReferenceName(std::string& name) const {
    if (m_referenceName.isEmpty())
        return false;
    name = m_referenceName.toStdString();
    return true;
}

void TrackableData::setReferenceName(const std::string& name) {
    m_referenceName = QString::fromStdString(name);
}
