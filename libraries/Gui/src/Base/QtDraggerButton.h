#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QPushButton>

/// The large handle by which a finger drags a splitter in touch-screen mode. It only reports the
/// pointer. Orientations as those of QtQVSplitterFrame.
class VLR_GUI_EXPORT QtDraggerButton : public QPushButton {
    Q_OBJECT

public:
    QtDraggerButton(QWidget* parent, int orientation);

signals:
    void mouseMoved(QPoint position); ///< Dragged to this place, in global coordinates.

protected:
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    int m_orientation;
};
