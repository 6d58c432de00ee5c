#pragma once

#include "Review/BackgroundDecoder.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

class QLabel;
class QtElidedLabel;

/// One screenshot, as large as there is room for. Escape or the button ask to go back.
class ScreenshotPage : public QWidget {
    Q_OBJECT

public:
    explicit ScreenshotPage(QWidget* parent = nullptr);

    void showScreenshot(const DataPointer<QtScreenShotData>& record);
    void clear();
    const DataPointer<QtScreenShotData>& screenshot() const { return m_record; }

signals:
    void backRequested();
    void deleteRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    class Picture;

    void keep(const QImage& image, const CaError& error);

    DataPointer<QtScreenShotData> m_record;
    QtElidedLabel* m_title;
    Picture* m_picture;
    BackgroundDecoder* m_decoder;
};
