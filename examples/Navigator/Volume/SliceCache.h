#pragma once

#include "Image/ImageSeries.h"

#include <QtCore/QCache>

#include <optional>
#include <utility>

/// One place of a series: its image, or why there is none. Grey values of 16 bits are spread over
/// black to white, as those of a volume are.
struct Slice {
    QImage image;
    CaError error;
    std::optional<std::pair<int, int>> greys; ///< What became black and what became white.
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
