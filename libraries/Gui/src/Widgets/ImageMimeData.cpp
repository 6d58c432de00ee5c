#include "Widgets/ImageMimeData.h"

#include <QtCore/QBuffer>

namespace vlr {

namespace {

const QString pngFormat = QStringLiteral("image/png");

} // namespace

ImageMimeData::ImageMimeData(const QImage& image) : m_image(image) {
    setImageData(image);
}

QStringList ImageMimeData::formats() const {
    return QMimeData::formats() << pngFormat;
}

bool ImageMimeData::hasFormat(const QString& format) const {
    return formats().contains(format);
}

QVariant ImageMimeData::retrieveData(const QString& format, QVariant::Type type) const {
    if (format != pngFormat)
        return QMimeData::retrieveData(format, type);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    return m_image.save(&buffer, "PNG") ? bytes : QVariant();
}

} // namespace vlr
