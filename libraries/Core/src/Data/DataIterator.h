#pragma once

#include "Data/Data.h"

#include <vector>

/// Walks the descendants of an item, parents before their children, siblings in order. The item
/// itself is not visited.
///
///     DataIterator it(patient);
///     while (DataPointer<Data> item = it.next()) ...
///
/// The tree may be changed during the walk: nothing dangles, though an item that moves may be
/// missed or met twice.
class VLR_CORE_EXPORT DataIterator {
public:
    explicit DataIterator(const DataPointer<Data>& root);

    DataPointer<Data> next(); ///< The next item; null at the end.

private:
    struct Level {
        DataPointer<Data> item;
        int nextChild = 0;
    };
    std::vector<Level> m_levels;
};
