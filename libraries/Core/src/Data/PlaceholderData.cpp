#include "Data/PlaceholderData.h"

PlaceholderData::PlaceholderData(const DataTreeNode& node) : Data(node.id()), m_node(node) {}

PlaceholderData::~PlaceholderData() = default;

_vlr::StringMixer PlaceholderData::getClassId() const {
    return _vlr::StringMixer(m_node.className());
}

CaError PlaceholderData::doSave(DataTreeNode* node, QMap<QString, QString>&) const {
    *node = m_node;
    node->setId(id());
    return CaError::nullError;
}
