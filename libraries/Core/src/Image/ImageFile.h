#pragma once

#include "Error/CaError.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtGui/QImage>

namespace vlr {

/// What is known of an image file before a pixel is decoded.
struct ImageInfo {
    QSize size;        ///< Pixels.
    QByteArray format; ///< "png", "jpeg", "bmp" or "tiff".
    int pages = 1;     ///< Images in the file; more than one only in TIFF.
    qint64 bytes = 0;  ///< Memory of one decoded page at most, once it is decoded.
    /// The grey value that 0 in a decoded image stands for: -32768 in a TIFF of signed 16 bits,
    /// whose values are moved up so that they keep their order, and otherwise 0.
    int zeroGrey = 0;
};

/// Most memory that decoding one image may need: 512 MiB. Beside the image itself that is the
/// coefficients of a JPEG in several scans (two bytes for each colour of a pixel), up to twice the
/// image for the strips of a TIFF, and once more the image where it is turned by 90 degrees.
constexpr qint64 defaultImageLimit = qint64(512) << 20;

/// Reads the header of a PNG, JPEG, BMP or TIFF file; the content decides, not the name. The
/// error names the file and the cause: missing, not a regular file, not an image of these kinds,
/// damaged header, decoding needs more than `limit` bytes (with both sizes), a PNG with more
/// compressed texts and profiles than an image has that was not made to exhaust the memory, or a
/// TIFF with samples that cannot be shown as they are: floating point or complex numbers, signed
/// ones other than grey of 16 bits, and samples of other than 1, 2, 4, 8 or 16 bits.
VLR_CORE_EXPORT CaError readImageInfo(const QString& path, ImageInfo& info,
                                      qint64 limit = defaultImageLimit);

/// Decodes one page (from 0), after the same checks. `image` is set on success only. A page whose
/// grey values are signed where those of the first page are not, or the reverse, is refused, so
/// that ImageInfo::zeroGrey holds for all pages.
VLR_CORE_EXPORT CaError readImage(const QString& path, QImage& image, int page = 0,
                                  qint64 limit = defaultImageLimit);

/// Decodes a PNG in memory after the same checks; `name` is what errors call it. With a valid
/// `bound` the image is scaled down to fit into that size (pixels), with its aspect ratio. May be
/// called in any thread.
VLR_CORE_EXPORT CaError readPng(const QByteArray& bytes, const QString& name, QImage& image,
                                const QSize& bound = {}, qint64 limit = defaultImageLimit);

/// The names by which image files are recognised in a folder: "*.png", "*.tif" and so on.
VLR_CORE_EXPORT QStringList imageNameFilters();

} // namespace vlr
