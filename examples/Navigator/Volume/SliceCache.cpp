#include "Volume/SliceCache.h"

#include "Volume/Volume.h"

#include <algorithm>
#include <limits>

namespace {

// An image that uses 12 of its 16 bits would be nearly black.
void stretch(Slice& slice, int zeroGrey) {
    const QImage& deep = slice.image;
    const auto lineOf = [&](int y) {
        return reinterpret_cast<const quint16*>(deep.constScanLine(y));
    };
    int darkest = std::numeric_limits<quint16>::max();
    int brightest = 0;
    for (int y = 0; y < deep.height(); ++y) {
        const auto range = std::minmax_element(lineOf(y), lineOf(y) + deep.width());
        darkest = std::min<int>(darkest, *range.first);
        brightest = std::max<int>(brightest, *range.second);
    }
    QImage shown(deep.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < shown.height(); ++y)
        std::transform(lineOf(y), lineOf(y) + deep.width(), shown.scanLine(y),
                       [&](quint16 grey) { return Volume::stretched(grey, darkest, brightest); });
    slice.image = shown;
    slice.greys = {darkest + zeroGrey, brightest + zeroGrey};
}

} // namespace

void SliceCache::setSeries(const vlr::ImageSeries& series) {
    m_slices.clear();
    m_series = series;
}

Slice SliceCache::slice(int index) {
    if (const Slice* known = m_slices.object(index))
        return *known;
    Slice slice;
    slice.error = m_series.read(index, slice.image);
    if (slice.image.format() == QImage::Format_Grayscale16)
        stretch(slice, m_series.info(index).zeroGrey);
    const auto cost = std::min<qint64>(slice.image.sizeInBytes() / 1024 + 1, kibibytes + 1);
    m_slices.insert(index, new Slice(slice), static_cast<int>(cost));
    return slice;
}
