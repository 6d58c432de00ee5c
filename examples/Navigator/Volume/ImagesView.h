#pragma once

#include "Volume/SliceCache.h"
#include "Volume/SliceView.h"

class QtMessageLine;
class QLabel;
class QSlider;

/// A series of images, stepped through with the slider, the wheel and the keys.
class ImagesView : public QWidget {
    Q_OBJECT

public:
    explicit ImagesView(QWidget* parent = nullptr);

    void showSeries(const vlr::ImageSeries& series, int slice);
    void showNote(const QString& text); ///< While there is no series.
    /// Above the images: why they are not shown in another way. None for an empty text.
    void setReason(const QString& text);
    void setPatientText(const QStringList& text) { m_view->setPatientText(text); }
    void setTrackingText(const QStringList& text) { m_view->setTrackingText(text); }
    const QStringList& patientText() const { return m_view->patientText(); }
    const vlr::ImageSeries& series() const { return m_cache.series(); }
    int slice() const; ///< The slice shown, from 0.
    void setSlice(int slice);

signals:
    void sliceChanged(int slice);
    /// A slice turned out not to be readable when it was to be shown.
    void sliceFailed(int slice, const CaError& error);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void move(SliceMove move);
    void showSlice();
    QString title() const;

    SliceCache m_cache;
    QtMessageLine* m_reason;
    SliceView* m_view;
    QSlider* m_slider;
    QLabel* m_position;
};
