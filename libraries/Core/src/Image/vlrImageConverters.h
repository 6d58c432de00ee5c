#pragma once

#include "Image/vlrImage.h"

#include <QtGui/QImage>

namespace vlr {

/// Conversions between the library's images and Qt's. An image without pixels, or memory that
/// cannot be had, gives one without pixels.
class VLR_CORE_EXPORT ImageConverters {
public:
    /// Keeps the bits per sample: Grey16 becomes Format_Grayscale16 with the display range spread
    /// over all of it, Rgb16 and Rgba16 become Format_RGBX64 and Format_RGBA64.
    static QImage makeQImage(const Image& image);

    /// The type that holds every pixel of the image without loss, up to rounding where Qt's alpha
    /// is premultiplied. Grey stays grey.
    static Image makeImage(const QImage& image);
};

} // namespace vlr
