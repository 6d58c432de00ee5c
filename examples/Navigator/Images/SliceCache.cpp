#include "Images/SliceCache.h"

#include <algorithm>

void SliceCache::setSeries(const vlr::ImageSeries& series) {
    m_slices.clear();
    m_series = series;
}

Slice SliceCache::slice(int index) {
    if (const Slice* known = m_slices.object(index))
        return *known;
    Slice slice;
    slice.error = m_series.read(index, slice.image);
    const auto cost = std::min<qint64>(slice.image.sizeInBytes() / 1024 + 1, kibibytes + 1);
    m_slices.insert(index, new Slice(slice), static_cast<int>(cost));
    return slice;
}
