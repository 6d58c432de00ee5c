#include "Image/vlrImageConverters.h"

#include <QtGui/QRgba64>

#include <algorithm>
#include <cstring>

namespace vlr {

namespace {

QImage::Format qtFormat(Image::PixelType type) {
    switch (type) {
    case Image::Grey8:
        return QImage::Format_Grayscale8;
    case Image::Grey16:
        return QImage::Format_Grayscale16;
    case Image::Rgb8:
        return QImage::Format_RGB888;
    case Image::Rgba8:
        return QImage::Format_RGBA8888;
    case Image::Rgb16:
        return QImage::Format_RGBX64;
    case Image::Rgba16:
        return QImage::Format_RGBA64;
    }
    return QImage::Format_Invalid;
}

void spreadRange(const Image& image, const quint16* from, quint16* to) {
    const qint64 black = image.displayBlack();
    const qint64 range = image.displayWhite() - black;
    for (int x = 0; x < image.size().width(); ++x) {
        const qint64 above = std::clamp<qint64>(from[x] - black, 0, range);
        to[x] = static_cast<quint16>((above * 65535 + range / 2) / range);
    }
}

void addAlpha(int width, const quint16* from, quint16* to) {
    for (int x = 0; x < width; ++x, from += 3, to += 4) {
        std::copy(from, from + 3, to);
        to[3] = 65535;
    }
}

void dropAlpha(int width, const quint16* from, quint16* to) {
    for (int x = 0; x < width; ++x, from += 4, to += 3)
        std::copy(from, from + 3, to);
}

Image::PixelType typeFor(const QImage& image) {
    const bool isGrey16 = image.format() == QImage::Format_Grayscale16;
    if (isGrey16 || image.format() == QImage::Format_Grayscale8)
        return isGrey16 ? Image::Grey16 : Image::Grey8;
    const QPixelFormat format = image.pixelFormat();
    if (format.redSize() > 8)
        return image.hasAlphaChannel() ? Image::Rgba16 : Image::Rgb16;
    if (!image.hasAlphaChannel() && image.isGrayscale())
        return Image::Grey8;
    return image.hasAlphaChannel() ? Image::Rgba8 : Image::Rgb8;
}

} // namespace

QImage ImageConverters::makeQImage(const Image& image) {
    QImage result(image.size(), qtFormat(image.type()));
    if (image.isNull() || result.isNull())
        return {};
    for (int y = 0; y < result.height(); ++y) {
        const auto* samples = reinterpret_cast<const quint16*>(image.line(y));
        auto* line = reinterpret_cast<quint16*>(result.scanLine(y));
        if (image.type() == Image::Grey16)
            spreadRange(image, samples, line);
        else if (image.type() == Image::Rgb16)
            addAlpha(result.width(), samples, line);
        else
            std::memcpy(line, samples, image.bytesPerLine());
    }
    return result;
}

Image ImageConverters::makeImage(const QImage& image) {
    if (image.isNull())
        return {};
    Image result(image.width(), image.height(), typeFor(image));
    const QImage converted = image.convertToFormat(qtFormat(result.type()));
    if (result.isNull() || converted.isNull())
        return {};
    for (int y = 0; y < converted.height(); ++y) {
        const uchar* line = converted.constScanLine(y);
        if (result.type() == Image::Rgb16)
            dropAlpha(converted.width(), reinterpret_cast<const quint16*>(line),
                      reinterpret_cast<quint16*>(result.line(y)));
        else
            std::memcpy(result.line(y), line, result.bytesPerLine());
    }
    return result;
}

} // namespace vlr
