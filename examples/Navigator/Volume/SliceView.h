#pragma once

#include "Volume/SliceMove.h"

#include <QtCore/QStringList>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

/// Paints one slice as large as it fits, with text in the corners. In the place of a slice that
/// cannot be shown stands the reason.
class SliceView : public QWidget {
    Q_OBJECT

public:
    explicit SliceView(QWidget* parent = nullptr);

    void showImage(const QImage& image, const QStringList& sliceText);
    void showProblem(const QString& title, const QString& reason, const QStringList& sliceText);
    void showNote(const QString& text);
    /// Whom the picture belongs to.
    void setPatientText(const QStringList& text);
    void setTrackingText(const QStringList& text); ///< Why no tips of instruments are seen.
    QStringList trackingText() const { return m_trackingText; }
    const QStringList& patientText() const { return m_patientText; }

    QSize sizeHint() const override { return {640, 480}; }
    QSize minimumSizeHint() const override { return {200, 150}; }

signals:
    void moveRequested(SliceMove move);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QRect imageRect() const;
    void paintImage(QPainter& painter);

    QImage m_image;
    QPixmap m_scaled; ///< Null until the image was painted at the present size.
    QString m_title;
    QString m_reason;
    bool m_isProblem = false;
    QStringList m_sliceText;
    QStringList m_patientText;
    QStringList m_trackingText;
    WheelNotches m_wheel;
};
