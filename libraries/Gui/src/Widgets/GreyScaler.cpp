#include "Widgets/GreyScaler.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vlr {

namespace {

// Chosen so that both factors of a product have 15 bits, what signed 16 bits can hold.
constexpr int weightBits = 14;
constexpr int whole = 1 << weightBits; // what the weights of one drawn pixel add up to
constexpr int spareBits = 7;           // of a pixel between the two passes, besides its 8
constexpr int atOnce = 4;              // pixels that are mixed by one instruction

QRgb grey(quint32 value) {
    return 0xff000000U | value * 0x010101U;
}

quint32* pixelLine(QImage& image, int y) {
    return reinterpret_cast<quint32*>(image.scanLine(y));
}

// --- fast

std::vector<int> nearest(int from, int to) {
    std::vector<int> positions;
    positions.reserve(static_cast<std::size_t>(to));
    for (int i = 0; i < to; ++i) {
        const qint64 centre = (2 * qint64(i) + 1) * from; // in half of 1/to of a pixel
        positions.push_back(static_cast<int>((centre - 1) / (2 * qint64(to))));
    }
    return positions;
}

void writeLine(const uchar* from, int width, const std::vector<int>& columns, quint32* to) {
    if (columns.size() == static_cast<std::size_t>(width)) // twice as fast without looking up
        std::transform(from, from + width, to, grey);
    else
        std::transform(columns.begin(), columns.end(), to,
                       [from](int column) { return grey(from[column]); });
}

void scaleFast(const QImage& image, QImage& target) {
    const std::vector<int> rows = nearest(image.height(), target.height());
    const std::vector<int> columns = nearest(image.width(), target.width());
    const quint32* last = nullptr;
    for (int y = 0; y < target.height(); ++y) {
        const auto row = rows.begin() + y;
        quint32* to = pixelLine(target, y);
        if (last && row[0] == row[-1])
            std::copy_n(last, columns.size(), to);
        else
            writeLine(image.constScanLine(*row), image.width(), columns, to);
        last = to;
    }
}

// --- smooth

/// Which pixels of a line make each drawn one, and their shares; as many for all of them, so that
/// the loops have no end of their own for each.
struct Shares {
    Shares(int number, int from, int to)
        : count(std::min(number, from)), first(static_cast<std::size_t>(to)),
          weights(first.size() * static_cast<std::size_t>(count)) {}
    qint16* weightsOf(int i) { return weights.data() + qint64(i) * count; }
    const qint16* weightsOf(int i) const { return weights.data() + qint64(i) * count; }

    int count;
    std::vector<int> first;
    std::vector<qint16> weights; ///< `count` for each drawn pixel.
};

// Shares are rounded where they end, so that they add up whatever their number.
Shares means(int from, int to, int fewest) {
    Shares shares(std::max(from / to + 2, fewest), from, to);
    for (int i = 0; i < to; ++i) {
        const qint64 begin = qint64(i) * from; // in 1/to of a pixel; it is `from` long
        const int first = std::min(static_cast<int>(begin / to), from - shares.count);
        shares.first[static_cast<std::size_t>(i)] = first;
        qint64 given = 0;
        for (int k = 0; k < shares.count; ++k) {
            const qint64 covered = std::clamp<qint64>(qint64(first + k + 1) * to - begin, 0, from);
            const qint64 due = (covered * whole + from / 2) / from;
            shares.weightsOf(i)[k] = static_cast<qint16>(due - given);
            given = due;
        }
    }
    return shares;
}

Shares interpolation(int from, int to, int fewest) {
    Shares shares(std::max(2, fewest), from, to);
    const qint64 pixel = 2 * qint64(to); // lengths are in half of 1/to of one
    for (int i = 0; i < to; ++i) {
        const qint64 centre = (2 * qint64(i) + 1) * from - to; // from that of the first pixel
        const qint64 inside = std::clamp<qint64>(centre, 0, (from - 1) * pixel);
        const int left = static_cast<int>(inside / pixel);
        const int first = std::min(left, from - shares.count);
        shares.first[static_cast<std::size_t>(i)] = first;
        const auto beyond = static_cast<qint16>(inside % pixel * whole / pixel);
        qint16* weights = shares.weightsOf(i) + (left - first);
        weights[0] = static_cast<qint16>(whole - beyond);
        if (beyond > 0)
            weights[1] = beyond;
    }
    return shares;
}

Shares sharesOf(int from, int to, int fewest) {
    return to < from ? means(from, to, fewest) : interpolation(from, to, fewest);
}

void mixRows(const QImage& image, const Shares& shares, int y, std::vector<int>& sums,
             std::vector<qint16>& line) {
    constexpr int shift = weightBits - spareBits;
    std::fill(sums.begin(), sums.end(), 1 << (shift - 1));
    const std::size_t width = sums.size();
    for (int k = 0; k < shares.count; ++k) {
        const int weight = shares.weightsOf(y)[k];
        if (weight == 0)
            continue;
        const uchar* from = image.constScanLine(shares.first[static_cast<std::size_t>(y)] + k);
        for (std::size_t x = 0; x < width; ++x)
            sums[x] += weight * from[x];
    }
    for (std::size_t x = 0; x < width; ++x)
        line[x] = static_cast<qint16>(sums[x] >> shift);
}

constexpr int columnShift = weightBits + spareBits;
constexpr int columnHalf = 1 << (columnShift - 1);

#ifdef __SSE2__
// The sums of products of two pixels, each in two parts.
__m128i mixTwo(const qint16* line, const int* first, const qint16* weights) {
    const auto load = [line](int x) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(line + x));
    };
    return _mm_madd_epi16(_mm_unpacklo_epi64(load(first[0]), load(first[1])),
                          _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
}

// Four pixels of four shares each.
void mixFour(const qint16* line, const int* first, const qint16* weights, quint32* to) {
    const __m128 left = _mm_castsi128_ps(mixTwo(line, first, weights));
    const __m128 right =
        _mm_castsi128_ps(mixTwo(line, first + 2, weights + std::ptrdiff_t(2) * atOnce));
    const __m128i even = _mm_castps_si128(_mm_shuffle_ps(left, right, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(left, right, _MM_SHUFFLE(3, 1, 3, 1)));
    const __m128i sum = _mm_add_epi32(_mm_add_epi32(even, odd), _mm_set1_epi32(columnHalf));
    const __m128i one = _mm_srli_epi32(sum, columnShift);
    const __m128i two = _mm_or_si128(one, _mm_slli_epi32(one, 8));
    const __m128i all = _mm_or_si128(two, _mm_slli_epi32(one, 16));
    const __m128i opaque = _mm_set1_epi32(static_cast<int>(0xff000000U));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(all, opaque));
}
#endif

void mixColumns(const std::vector<qint16>& line, const Shares& shares, quint32* to) {
    const int width = static_cast<int>(shares.first.size());
    const int* first = shares.first.data();
    int x = 0;
#ifdef __SSE2__
    if (shares.count == atOnce)
        for (; x + atOnce <= width; x += atOnce)
            mixFour(line.data(), first + x, shares.weightsOf(x), to + x);
#endif
    for (; x < width; ++x) {
        const qint16* from = line.data() + first[x];
        const qint16* weights = shares.weightsOf(x);
        int sum = columnHalf;
        for (int k = 0; k < shares.count; ++k)
            sum += from[k] * weights[k];
        to[x] = grey(static_cast<quint32>(sum) >> columnShift);
    }
}

// Rows before columns: the rows are what a processor does many of at once.
void scaleSmooth(const QImage& image, QImage& target) {
    const Shares rows = sharesOf(image.height(), target.height(), 1);
    const Shares columns = sharesOf(image.width(), target.width(), atOnce);
    std::vector<int> sums(static_cast<std::size_t>(image.width()));
    std::vector<qint16> line(sums.size());
    for (int y = 0; y < target.height(); ++y) {
        mixRows(image, rows, y, sums, line);
        mixColumns(line, columns, pixelLine(target, y));
    }
}

} // namespace

void scaleGrey(const QImage& image, const QSize& size, Qt::TransformationMode transformation,
               QImage& target) {
    const bool isUsable = image.format() == QImage::Format_Grayscale8 && !size.isEmpty();
    const QSize wanted = isUsable ? size : QSize();
    if (target.size() != wanted || target.format() != QImage::Format_RGB32 || !target.isDetached())
        target = QImage(wanted, QImage::Format_RGB32);
    if (target.isNull())
        return;
    if (transformation == Qt::FastTransformation || image.size() == size)
        scaleFast(image, target);
    else
        scaleSmooth(image, target);
}

} // namespace vlr
