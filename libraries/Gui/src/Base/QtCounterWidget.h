#pragma once

#include "vlrGuiExport.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QGroupBox>

#include <vector>

class QColor;
class QLabel;

/// A group box with a row of small frames that counts up to a number, such as the points taken.
///
///     auto* counter = new QtCounterWidget(4, panel);
///     counter->setFrameColor(Qt::red, 1);
///     counter->setFrameColor(Qt::green, 4);
///     counter->setCurrentFrameNumber(2);    // two red frames, two dark ones
///
/// The lit frames all have the colour of the highest position reached that was given one. A
/// counter without colours stays dark and at 0. More than 20 frames take several rows.
class VLR_GUI_EXPORT QtCounterWidget : public QGroupBox {
    Q_OBJECT

public:
    /// `width` and `height` are those of one frame in pixels, at least 1. Fewer than 0 frames
    /// count as none.
    explicit QtCounterWidget(const int& frames, QWidget* parent = nullptr);
    QtCounterWidget(const int& frames, const int& width, const int& height,
                    QWidget* parent = nullptr);
    ~QtCounterWidget() override;

    int getCurrentFrameNumber() const;

    void clear(); ///< Back to 0, all frames dark.
    /// Lights the first `number` frames. Beyond the last it is the number of frames, below 0 it
    /// is 0.
    void setCurrentFrameNumber(const int& number);
    /// The colour from the frame at `position` on, counted from 1; another position is ignored.
    /// It is seen when the number changes.
    void setFrameColor(const QColor& color, const int& position);
    /// Starts again with another number of frames, dark and without colours.
    void setFrameCount(const int& frames);

signals:
    void counterChangedSIG(int number);

private:
    void createInterface(const int& frames);
    void removeFrames();
    void updateFrames();
    void changeFrameColor(const QPixmap& color);
    QPixmap filled(const QColor& color) const;

    int m_current = 0;
    std::vector<QPixmap> m_colors; ///< One per frame, null where no colour was set.
    std::vector<QLabel*> m_frames;
    int m_width = 20;
    int m_height = 20;
};
