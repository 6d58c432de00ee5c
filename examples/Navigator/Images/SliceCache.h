#pragma once

#include "Image/ImageSeries.h"

#include <QtCore/QCache>

/// One place of a series: its image, or why there is none.
struct Slice {
    QImage image;
    CaError error;
};

/// Decodes the slices of a series when they are asked for and keeps those used last, in bounded
/// memory.
class SliceCache {
public:
    void setSeries(const vlr::ImageSeries& series);
    const vlr::ImageSeries& series() const { return m_series; }
    Slice slice(int index);

private:
    static constexpr int kibibytes = 128 << 10;

    vlr::ImageSeries m_series;
    QCache<int, Slice> m_slices{kibibytes};
};
