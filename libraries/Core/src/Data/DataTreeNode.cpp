#include "Data/DataTreeNode.h"

#include <algorithm>

namespace {

template <class Attributes>
auto find(Attributes& attributes, const QString& name) {
    return std::find_if(attributes.begin(), attributes.end(),
                        [&](const DataTreeNode::Attribute& a) { return a.first == name; });
}

} // namespace

DataTreeNode::DataTreeNode(QString className) : m_className(std::move(className)) {}

DataTreeNode::DataTreeNode(const DataTreeNode& other)
    : m_className(other.m_className), m_id(other.m_id), m_key(other.m_key),
      m_attributes(other.m_attributes), m_binaryParts(other.m_binaryParts) {
    m_children.reserve(other.m_children.size());
    for (const auto& child : other.m_children)
        m_children.push_back(std::make_unique<DataTreeNode>(*child));
}

DataTreeNode& DataTreeNode::operator=(const DataTreeNode& other) {
    return *this = DataTreeNode(other);
}

void DataTreeNode::setAttribute(const QString& name, const QString& value) {
    const auto found = find(m_attributes, name);
    if (found != m_attributes.end())
        found->second = value;
    else
        m_attributes.emplace_back(name, value);
}

void DataTreeNode::appendAttribute(const QString& name, const QString& value) {
    m_attributes.emplace_back(name, value);
}

QString DataTreeNode::attribute(const QString& name) const {
    const auto found = find(m_attributes, name);
    return found == m_attributes.end() ? QString() : found->second;
}

bool DataTreeNode::hasAttribute(const QString& name) const {
    return find(m_attributes, name) != m_attributes.end();
}

std::vector<DataTreeNode::Attribute> DataTreeNode::unreadAttributes() const {
    std::vector<Attribute> unread;
    for (const Attribute& a : m_attributes)
        if (!m_read.contains(a.first))
            unread.push_back(a);
    return unread;
}

DataTreeNode* DataTreeNode::addChild(const QString& className) {
    m_children.push_back(std::make_unique<DataTreeNode>(className));
    return m_children.back().get();
}
