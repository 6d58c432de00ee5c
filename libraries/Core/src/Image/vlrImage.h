#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QSize>

#include <cstddef>
#include <vector>

namespace vlr {

/// An image as the devices of an operating room give it: grey or colour, with 8 or 16 bits per
/// sample, lines from top to bottom without gaps.
///
///     auto image = QSharedPointer<Image>::create(512, 512, Image::Grey16);
///     auto* line = reinterpret_cast<quint16*>(image->line(0));
///     image->setDisplayRange(0, 4095);                 // 12 bits are used
///     widget->setImage(image);
///
/// Samples of 16 bits are in the machine's byte order; colours are red, green, blue, alpha
/// (not premultiplied).
class VLR_CORE_EXPORT Image {
public:
    enum PixelType { Grey8, Grey16, Rgb8, Rgba8, Rgb16, Rgba16 };

    Image() = default; ///< Without pixels.
    /// Black (and transparent where there is alpha). Sizes that are not positive or need more than
    /// 512 MiB give an image without pixels.
    Image(int width, int height, PixelType type);

    bool isNull() const { return m_pixels.empty(); }
    QSize size() const { return m_size; }
    PixelType type() const { return m_type; }
    std::size_t bytesPerLine() const;

    /// The first byte of line `y`; null for a line that is not there.
    unsigned char* line(int y);
    const unsigned char* line(int y) const;

    /// The samples of a Grey16 image that are shown as black and as white; what lies beyond is
    /// shown as the nearer of the two. At first 0 and 65535. A range that does not rise is ignored.
    void setDisplayRange(int black, int white);
    int displayBlack() const { return m_black; }
    int displayWhite() const { return m_white; }

private:
    QSize m_size;
    PixelType m_type = Grey8;
    std::vector<unsigned char> m_pixels;
    int m_black = 0;
    int m_white = 65535;
};

using ImagePtr = QSharedPointer<Image>;
using ConstImagePtr = QSharedPointer<const Image>;

} // namespace vlr
