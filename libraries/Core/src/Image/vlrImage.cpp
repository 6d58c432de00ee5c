#include "Image/vlrImage.h"

#include "Image/ImageFile.h"

namespace vlr {

namespace {

std::size_t bytesPerPixel(Image::PixelType type) {
    switch (type) {
    case Image::Grey8:
        return 1;
    case Image::Grey16:
        return 2;
    case Image::Rgb8:
        return 3;
    case Image::Rgba8:
        return 4;
    case Image::Rgb16:
        return 6;
    case Image::Rgba16:
        return 8;
    }
    return 0;
}

} // namespace

Image::Image(int width, int height, PixelType type) : m_type(type) {
    if (width <= 0 || height <= 0)
        return;
    const qint64 line = width * static_cast<qint64>(bytesPerPixel(type));
    if (line == 0 || line > defaultImageLimit / height)
        return;
    m_size = QSize(width, height);
    m_pixels.resize(static_cast<std::size_t>(line * height));
}

std::size_t Image::bytesPerLine() const {
    return isNull() ? 0 : static_cast<std::size_t>(m_size.width()) * bytesPerPixel(m_type);
}

unsigned char* Image::line(int y) {
    const bool exists = y >= 0 && y < m_size.height();
    return exists ? m_pixels.data() + static_cast<std::size_t>(y) * bytesPerLine() : nullptr;
}

const unsigned char* Image::line(int y) const {
    const bool exists = y >= 0 && y < m_size.height();
    return exists ? m_pixels.data() + static_cast<std::size_t>(y) * bytesPerLine() : nullptr;
}

void Image::setDisplayRange(int black, int white) {
    if (black >= white)
        return;
    m_black = black;
    m_white = white;
}

} // namespace vlr
