#include "Widgets/vlrImageWidget.h"

#include "Base/AskForFiles.h"
#include "Files/PatientFile.h"
#include "Image/vlrImageConverters.h"
#include "Log/vlrLog.h"
#include "Settings/SettingKey.h"
#include "Settings/vlrSettings.h"
#include "Widgets/GreyScaler.h"
#include "Widgets/ImageMimeData.h"

#include <QtCore/QBuffer>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtGui/QContextMenuEvent>
#include <QtGui/QDrag>
#include <QtGui/QImageWriter>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QMenu>

#include <algorithm>
#include <iostream>
#include <utility>

namespace vlr {

namespace {

const vlr::SettingKey<QString> lastPath(
    "vlrImageWidget/path", QStringLiteral("/"),
    QT_TRANSLATE_NOOP("KnownSettings",
                      "The file that an image was saved as last; the next one is offered there."));

// Drawing is by far fastest from the format of the screen; 16 bits are rounded to 8.
QImage forScreen(const QImage& image) {
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32);
}

} // namespace

ImageWidget::ImageWidget(QWidget* parent)
    : QWidget(parent), m_saveAction(new QAction(tr("Save Image"), this)) {
    connect(m_saveAction, &QAction::triggered, this, &ImageWidget::saveImageFile);
}

ImageWidget::~ImageWidget() = default;

// --- the image

void ImageWidget::setImage(QSharedPointer<const vlr::Image> image) {
    if (!image) {
        removeImage();
        return;
    }
    display(ImageConverters::makeQImage(*image));
    m_coreImage = std::move(image);
}

void ImageWidget::setImage(QSharedPointer<vlr::Image> image) {
    setImage(QSharedPointer<const vlr::Image>(std::move(image)));
}

void ImageWidget::setImage(QImage image) {
    display(image);
    m_coreImage.reset();
}

void ImageWidget::removeImage() {
    setImage(QImage());
}

void ImageWidget::display(const QImage& image) {
    m_image = image;
    m_drawnFor = QSize();
    // What is shared with the old image is let go; it may lie in memory of the application.
    if (image.isNull() || !m_isDrawnOwn)
        m_drawn = QImage();
    placeImage();
}

void ImageWidget::setScalingMode(ScalingMode scaling, TransformationMode transformation) {
    m_scalingMode = scaling;
    m_transformationMode = transformation;
    m_drawnFor = QSize();
    placeImage();
}

// Where the image hides all of it, painting the background first would be half of the work.
void ImageWidget::placeImage() {
    setAttribute(Qt::WA_OpaquePaintEvent,
                 drawnRect().contains(rect()) && !m_image.hasAlphaChannel());
    update();
}

// --- overlays

void ImageWidget::addPaintingOverlay(QSharedPointer<vlr::PaintingOverlay> overlay) {
    if (!overlay) {
        VLR_LOG(Error) << "Overlay is not defined.";
        return;
    }
    const auto* key = overlay.data();
    connect(key, &PaintingOverlay::overlayChanged, this, [this, key] { repaintOverlay(key); });
    m_overlays.push_back({std::move(overlay), {}});
    update();
}

void ImageWidget::removePaintingOverlay(const QSharedPointer<vlr::PaintingOverlay>& overlay) {
    const auto end = std::remove_if(m_overlays.begin(), m_overlays.end(),
                                    [&](const Overlay& entry) { return entry.overlay == overlay; });
    if (end == m_overlays.end())
        return;
    overlay->disconnect(this);
    m_overlays.erase(end, m_overlays.end());
    update();
}

void ImageWidget::repaintOverlay(const vlr::PaintingOverlay* overlay) {
    for (const Overlay& entry : m_overlays) {
        if (entry.overlay.data() != overlay)
            continue;
        const QRectF bounds = overlay->boundingRect();
        if (bounds.isNull() || entry.painted.isNull())
            update();
        else
            update(QRegion(toWidget(bounds)) + toWidget(entry.painted));
    }
}

// --- painting

QRect ImageWidget::drawnRect() const {
    if (m_image.isNull())
        return {};
    QRect rect(QPoint(0, 0), m_image.size());
    if (m_scalingMode == Stretched)
        rect.setSize(size());
    else if (m_scalingMode != Unscaled)
        rect.setSize(m_image.size().scaled(size(), Qt::KeepAspectRatio));
    if (m_scalingMode == Centered)
        rect.moveTo((width() - rect.width()) / 2, (height() - rect.height()) / 2);
    return rect;
}

const QImage& ImageWidget::drawn() {
    const double ratio = m_scalingMode == Unscaled ? 1 : devicePixelRatioF();
    const QSize wanted = drawnRect().size() * ratio;
    if (m_drawnFor == wanted)
        return m_drawn;
    const auto transformation =
        m_transformationMode == Fast ? Qt::FastTransformation : Qt::SmoothTransformation;
    if (m_image.format() == QImage::Format_Grayscale8) {
        if (!m_isDrawnOwn)
            m_drawn = QImage(); // Not to be drawn into.
        scaleGrey(m_image, wanted, transformation, m_drawn);
    } else {
        m_drawn = forScreen(m_image);
        if (m_drawn.size() != wanted)
            m_drawn = m_drawn.scaled(wanted, Qt::IgnoreAspectRatio, transformation);
    }
    m_isDrawnOwn = m_image.format() == QImage::Format_Grayscale8;
    m_drawn.setDevicePixelRatio(ratio);
    // Without memory for it, the next paint tries again.
    m_drawnFor = m_drawn.isNull() ? QSize() : wanted;
    return m_drawn;
}

void ImageWidget::resizeEvent(QResizeEvent*) {
    placeImage();
}

void ImageWidget::paintEvent(QPaintEvent* event) {
    const QRect rect = drawnRect();
    if (rect.isEmpty())
        return;
    QPainter painter(this);
    const QImage& image = drawn();
    const double ratio = image.devicePixelRatioF();
    for (const QRect& dirty : event->region()) {
        const QRect target = dirty & rect;
        const QPoint corner = target.topLeft() - rect.topLeft();
        if (!target.isEmpty())
            painter.drawImage(QRectF(target), image,
                              QRectF(QPointF(corner) * ratio, QSizeF(target.size()) * ratio));
    }
    paintOverlays(painter);
}

// An overlay that does not say where it paints is painted whatever is to be renewed.
void ImageWidget::paintOverlays(QPainter& painter) {
    const QRect rect = drawnRect();
    for (std::size_t i = 0; i < m_overlays.size(); ++i) {
        const auto overlay = m_overlays[i].overlay;
        m_overlays[i].painted = overlay->boundingRect();
        painter.save();
        painter.translate(rect.topLeft());
        painter.scale(double(rect.width()) / m_image.width(),
                      double(rect.height()) / m_image.height());
        overlay->paint(&painter);
        painter.restore();
    }
}

// With a margin for what smooth edges add.
QRect ImageWidget::toWidget(const QRectF& imageRect) const {
    const QRect rect = drawnRect();
    if (rect.isEmpty())
        return {};
    const double x = double(rect.width()) / m_image.width();
    const double y = double(rect.height()) / m_image.height();
    const QRectF scaledRect(imageRect.x() * x, imageRect.y() * y, imageRect.width() * x,
                            imageRect.height() * y);
    return scaledRect.translated(rect.topLeft()).toAlignedRect().adjusted(-2, -2, 2, 2);
}

// --- the mouse

QPoint ImageWidget::scaled(const QPoint& position) const {
    const QRect rect = drawnRect();
    if (rect.isEmpty())
        return position;
    const double x = double(m_image.width()) / rect.width();
    const double y = double(m_image.height()) / rect.height();
    return {static_cast<int>(position.x() * x), static_cast<int>(position.y() * y)};
}

bool ImageWidget::isDrag(const QPoint& position) const {
    return (position - m_pressedAt).manhattanLength() >= QApplication::startDragDistance();
}

void ImageWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_pressedAt = event->pos();
    m_mayDrag = true;
    event->accept();
    emit scaledMouseClicked(scaled(event->pos()), event);
}

void ImageWidget::mouseMoveEvent(QMouseEvent* event) {
    const QPointer<ImageWidget> self(this);
    emit scaledMouseMotion(scaled(event->pos()), event);
    if (!self || !m_dragEnabled || !m_mayDrag || m_image.isNull())
        return;
    if (!(event->buttons() & Qt::LeftButton) || !isDrag(event->pos()))
        return;
    m_mayDrag = false;
    event->accept();
    startDrag(new ImageMimeData(m_image));
}

void ImageWidget::startDrag(QMimeData* mimeData) {
    auto* drag = new QDrag(this);
    drag->setMimeData(mimeData);
    constexpr int longestSide = 128; // of the picture beside the pointer, in pixels
    drag->setPixmap(
        QPixmap::fromImage(drawn().scaled(longestSide, longestSide, Qt::KeepAspectRatio)));
    drag->exec(Qt::CopyAction);
}

void ImageWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    const QPointer<ImageWidget> self(this);
    m_mayDrag = false;
    const bool isClick = !isDrag(event->pos());
    emit clickedPos(event->pos());
    if (!self || !isClick)
        return;
    event->accept();
    emit clicked();
}

void ImageWidget::enableDragAndDrop(bool enabled) {
    m_dragEnabled = enabled;
}

// --- saving

void ImageWidget::contextMenuEvent(QContextMenuEvent* event) {
    if (m_image.isNull())
        return;
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_saveAction);
    menu->popup(event->globalPos());
}

void ImageWidget::saveImageFile() {
    const QPointer<ImageWidget> self(this);
    auto* const dialog =
        new QFileDialog(this, tr("Save Image"), QString(), tr("Images (*.png *.jpg)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    const QString path = askForFiles(dialog, lastPath.get()).value(0);
    if (!self)
        return;
    std::cout << path.toStdString() << std::endl;
    if (!m_image.isNull()) {
        const QString problem = saveTo(path);
        std::cout << problem.isEmpty() << std::endl;
        if (!problem.isEmpty() && !path.isEmpty())
            VLR_LOG(UserError) << tr("The image was not saved. %1").arg(problem);
    }
    const CaError error = Settings::set(lastPath.key(), path);
    if (!error.isNull())
        VLR_LOG(Warning) << error;
}

// What went wrong, in words for the user; empty for success.
QString ImageWidget::saveTo(const QString& path) const {
    const QByteArray format = QFileInfo(path).suffix().toLower().toLatin1();
    if (format.isEmpty())
        return tr("The name \"%1\" has no extension, such as \".png\", that says in which format.")
            .arg(path);
    if (!QImageWriter::supportedImageFormats().contains(format))
        return tr("\"%1\" is not the extension of an image format.")
            .arg(QString::fromLatin1(format));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, format);
    if (!writer.write(m_image))
        return tr("\"%1\" cannot be written: %2.").arg(path, writer.errorString());
    const CaError error = writePatientFile(path, bytes);
    return error.isNull() ? QString() : QString::fromStdString(error.text());
}

} // namespace vlr
