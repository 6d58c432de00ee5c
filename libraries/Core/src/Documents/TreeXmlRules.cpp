#include "Documents/TreeXmlRules.h"

#include <QtCore/QString>

#include <algorithm>
#include <vector>

namespace vlr {

namespace {

using Attributes = std::vector<DataTreeNode::Attribute>;

const QString* findRepeatedAmongFew(const Attributes& attributes) {
    for (auto one = attributes.begin(); one != attributes.end(); ++one)
        for (auto other = attributes.begin(); other != one; ++other)
            if (one->first == other->first)
                return &one->first;
    return nullptr;
}

const QString* findRepeatedName(const Attributes& attributes) {
    constexpr std::size_t few = 16;
    if (attributes.size() <= few)
        return findRepeatedAmongFew(attributes);
    std::vector<const QString*> names;
    names.reserve(attributes.size());
    for (const auto& attribute : attributes)
        names.push_back(&attribute.first);
    std::sort(names.begin(), names.end(),
              [](const QString* a, const QString* b) { return *a < *b; });
    const auto found = std::adjacent_find(
        names.begin(), names.end(), [](const QString* a, const QString* b) { return *a == *b; });
    return found == names.end() ? nullptr : *found;
}

} // namespace

std::string TreeRules::addItem(std::size_t ancestors) {
    if (ancestors == 0 && m_items > 0)
        return "more than one item at the top";
    if (ancestors >= static_cast<std::size_t>(std::max(m_limits.depth, 0)))
        return "nested deeper than " + std::to_string(m_limits.depth) + " levels";
    if (++m_items > m_limits.nodes)
        return "more than " + std::to_string(m_limits.nodes) + " items";
    return {};
}

std::string TreeRules::checkCount(std::size_t count, const char* ofWhat) const {
    if (count > static_cast<std::size_t>(std::max(m_limits.attributesPerNode, 0)))
        return "an item with more than " + std::to_string(m_limits.attributesPerNode) + ' ' +
               ofWhat;
    return {};
}

std::string TreeRules::checkLength(std::size_t bytes) {
    constexpr std::size_t most = std::size_t(4) << 20;
    return bytes > most ? "an element of more than " + std::to_string(most) + " bytes"
                        : std::string();
}

std::string TreeRules::checkNames(const DataTreeNode& item) {
    const QString* const name = findRepeatedName(item.attributes());
    if (!name)
        return {};
    return "the item \"" + item.id().toStdString() + "\" has two attributes \"" +
           name->toStdString() + '"';
}

CaError malformedTree(const std::string& fault) {
    return CaError("TreeXml::malformed", fault);
}

CaError tooLargeTree(qint64 limit) {
    return CaError("TreeXml::tooLarge", "more than " + std::to_string(limit) + " bytes");
}

} // namespace vlr
