#include "Data/DataIterator.h"

DataIterator::DataIterator(const DataPointer<Data>& root) {
    if (root)
        m_levels.push_back({root});
}

DataPointer<Data> DataIterator::next() {
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        const DataPointer<Data> child = level.item->child(level.nextChild);
        if (child) {
            ++level.nextChild;
            m_levels.push_back({child});
            return child;
        }
        m_levels.pop_back();
    }
    return {};
}
