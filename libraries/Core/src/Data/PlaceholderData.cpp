#include "Data/PlaceholderData.h"

PlaceholderData::PlaceholderData(const QString& className) : m_className(className) {}

PlaceholderData::~PlaceholderData() = default;

_vlr::StringMixer PlaceholderData::getClassId() const {
    return m_className;
}
