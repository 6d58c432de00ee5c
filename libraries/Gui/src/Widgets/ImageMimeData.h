#pragma once

#include <QtCore/QMimeData>
#include <QtGui/QImage>

namespace vlr {

/// An image for other programs: as image data, which the platform offers in its own formats, and
/// as a PNG that is made when somebody asks for it, since that takes a while.
class ImageMimeData : public QMimeData {
    Q_OBJECT

public:
    explicit ImageMimeData(const QImage& image);

    QStringList formats() const override;
    bool hasFormat(const QString& format) const override;

protected:
    QVariant retrieveData(const QString& format, QVariant::Type type) const override;

private:
    QImage m_image;
};

} // namespace vlr
