#pragma once

#include "Documents/TreeXml.h"

#include <cstddef>
#include <string>

namespace vlr {

/// What reader and writer of documents hold each item against. Both ask the same questions, so
/// that whatever is written can be read again. The answer is the fault, or an empty text.
class TreeRules {
public:
    explicit TreeRules(const TreeLimits& limits) : m_limits(limits) {}

    qint64 bytes() const { return m_limits.bytes; }

    /// One more item, under so many others.
    std::string addItem(std::size_t ancestors);
    /// The item has so many "attributes" or "binary parts", the last of them perhaps not complete
    /// yet. Both have the same limit.
    std::string checkCount(std::size_t count, const char* ofWhat) const;
    /// An element takes so many bytes, from "<" to ">". Several times as many are needed to read
    /// it.
    static std::string checkLength(std::size_t bytes);
    /// To be asked once the item has all of its attributes.
    static std::string checkNames(const DataTreeNode& item);

private:
    const TreeLimits m_limits;
    int m_items = 0;
};

CaError malformedTree(const std::string& fault);
CaError tooLargeTree(qint64 limit);

} // namespace vlr
