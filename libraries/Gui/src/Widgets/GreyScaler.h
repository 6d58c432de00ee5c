#pragma once

#include "vlrGuiExport.h"

#include <QtGui/QImage>

namespace vlr {

/// Scales an image of 8-bit grey (Format_Grayscale8) into one of Format_RGB32, as a screen takes
/// it. QImage would convert before it scales, which moves four times the bytes.
///
///     scaleGrey(frame, widgetSize, Qt::SmoothTransformation, shown);
///     painter.drawImage(0, 0, shown);
///
/// Fast takes the pixel of the image in which the centre of the drawn one lies, the left or upper
/// one if that is between two, as QImage::scaled() does up to 1/32 of a pixel. Smooth takes the
/// mean of the area a drawn pixel covers where the image shrinks, and interpolates linearly
/// between centres where it grows, each direction for itself. It is within one grey level of
/// what that gives exactly, and of QImage::scaled() when shrinking; when growing, within three of
/// QImage, which interpolates in steps of 1/256.
///
/// `size` is in pixels of the target; device pixel ratios are left out of account. The buffer of
/// `target` is used again if it has the size and nobody shares it. An image that is null or of
/// another format, an empty size, or one there is no memory for gives a null target.
VLR_GUI_EXPORT void scaleGrey(const QImage& image, const QSize& size,
                              Qt::TransformationMode transformation, QImage& target);

} // namespace vlr
