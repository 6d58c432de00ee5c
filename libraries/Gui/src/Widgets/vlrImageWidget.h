#pragma once

#include "Image/vlrImage.h"
#include "Widgets/vlrPaintingOverlay.h"

#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

#include <vector>

class QAction;
class QMimeData;

namespace vlr {

/// Shows one image, with overlays on top of it.
///
///     auto* view = new vlr::ImageWidget(this);
///     view->setScalingMode(vlr::ImageWidget::Centered, vlr::ImageWidget::Smooth);
///     view->setImage(image);
///     view->addPaintingOverlay(crosshair);
///     connect(view, &vlr::ImageWidget::scaledMouseClicked, this, &Panel::pick);
///
/// What was scaled and converted is kept until the image, the size or a mode changes; an overlay
/// that changes is painted from it. Frames of a camera come fastest as 8-bit grey
/// (Image::Grey8, QImage::Format_Grayscale8). Images are shared, not copied; one set as vlr::Image
/// must not be changed while it is shown, but set again. The context menu offers "Save Image".
class VLR_GUI_EXPORT ImageWidget : public QWidget {
    Q_OBJECT

public:
    enum ScalingMode {
        Unscaled,        ///< One pixel for one, from the upper left corner.
        KeepAspectRatio, ///< As large as the widget allows, from the upper left corner.
        Centered,        ///< As large as the widget allows, in its middle.
        Stretched        ///< Of the size of the widget.
    };
    enum TransformationMode { Fast, Smooth }; ///< Any other value counts as Smooth.

    explicit ImageWidget(QWidget* parent = nullptr);
    ~ImageWidget() override;

    /// A null pointer or image is the same as removeImage().
    virtual void setImage(QSharedPointer<const vlr::Image> image);
    virtual void setImage(QSharedPointer<vlr::Image> image);
    virtual void setImage(QImage image);
    virtual void removeImage();
    /// Null unless the image was set as one of the core library.
    QSharedPointer<const vlr::Image> getImage() const { return m_coreImage; }
    QImage getQImage() const { return m_image; } ///< With all its bits; null without an image.

    virtual void setScalingMode(ScalingMode scaling, TransformationMode transformation);

    /// Overlays are painted in the order they were added. A null one is refused ("ERROR").
    void addPaintingOverlay(QSharedPointer<vlr::PaintingOverlay> overlay);
    void removePaintingOverlay(const QSharedPointer<vlr::PaintingOverlay>& overlay);

    /// Whether the image can be dragged to other programs. Off at first.
    void enableDragAndDrop(bool enabled);

    /// Where the image is drawn, in the widget's coordinates. Empty without an image.
    QRect drawnRect() const;

public slots:
    /// Asks for a file name and saves the image there; the extension gives the format. The name
    /// and the result go to standard output; a name without extension, or with an unknown one,
    /// and a file that cannot be written are reported to the user as well ("UERROR"). The next
    /// dialog starts at the name, empty after a cancel.
    virtual void saveImageFile();

signals:
    void clicked();                 ///< Pressed and released at about the same place.
    void clickedPos(QPoint aPoint); ///< Released; in the widget's coordinates.
    /// The position in the widget times image size / drawn size, truncated. In the mode Centered
    /// it counts from the corner of the widget, as in the others: take drawnRect() into account.
    void scaledMouseMotion(QPoint aPoint, QMouseEvent* event);
    void scaledMouseClicked(QPoint aPoint, QMouseEvent* event);

protected:
    QPixmap getPixmap() const { return QPixmap::fromImage(m_image); }
    ScalingMode getScalingMode() const { return m_scalingMode; }
    /// Carries the data to another program; blocks until it is dropped. Takes the data.
    virtual void startDrag(QMimeData* mimeData);

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    struct Overlay {
        QSharedPointer<vlr::PaintingOverlay> overlay;
        QRectF painted; ///< In image coordinates, at the last painting; null: everything.
    };

    void display(const QImage& image);
    void placeImage();
    const QImage& drawn();
    void paintOverlays(QPainter& painter);
    void repaintOverlay(const vlr::PaintingOverlay* overlay);
    QRect toWidget(const QRectF& imageRect) const;
    QPoint scaled(const QPoint& position) const;
    bool isDrag(const QPoint& position) const;
    QString saveTo(const QString& path) const;

    QImage m_image;
    QSharedPointer<const vlr::Image> m_coreImage;
    std::vector<Overlay> m_overlays;
    ScalingMode m_scalingMode = Unscaled;
    TransformationMode m_transformationMode = Fast;
    QPoint m_pressedAt;
    bool m_dragEnabled = false;
    bool m_mayDrag = false; ///< The button that was pressed has not begun a drag yet.
    QAction* m_saveAction;
    QImage m_drawn;            ///< The image as it is on the screen, or memory for the next one.
    bool m_isDrawnOwn = false; ///< Not shared with an image of the application.
    QSize m_drawnFor;          ///< Its size in device pixels; not valid when it must be made anew.
};

} // namespace vlr
