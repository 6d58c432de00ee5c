#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPoint>
#include <QtCore/QPointer>
#include <QtCore/QRect>

class QFrame;
class QPixmap;
class QPushButton;
class QtDraggerButton;
class QtQVSplitterFrame;

/// One draggable splitter piece of the quad view: a line, a box of expand buttons beside it and,
/// in touch-screen mode, a large handle. It is no widget itself; its widgets are children of the
/// parent given to it, and are placed in that parent's coordinates (pixels). Box and handle stay
/// within the parent where they fit.
///
///     auto* splitter = new QtQVSimpleSplitter(view, QtQVSplitterFrame::Vertical, 0);
///     connect(splitter->createButton(&arrow), &QPushButton::clicked, view, &View::expandLeft);
///     splitter->setPosition(QPoint(97, 6), QPoint(101, 94));
///     splitter->show();
class VLR_GUI_EXPORT QtQVSimpleSplitter : public QObject {
    Q_OBJECT

public:
    /// Orientation as of QtQVSplitterFrame. Position along the axis: 0 first half, 1 centre,
    /// 2 second half; other values are clamped.
    QtQVSimpleSplitter(QWidget* parent, int orientation, int position);
    ~QtQVSimpleSplitter() override; ///< Line, box and handle go with it.

    /// A new button in the box, 32 x 32 pixels, with the pixmap as its icon (null: none). The
    /// caller connects it; the box owns it.
    virtual QPushButton* createButton(const QPixmap* pixmap);
    /// Places the bar between these two inclusive corners and moves box and handle along.
    virtual void setPosition(const QPoint& topLeft, const QPoint& bottomRight);
    virtual void show();
    virtual void hide();

    /// Gives a centre piece (position 1) its touch handle, or takes it away; other pieces ignore
    /// it.
    void enableTouchScreenMode(bool on);
    int getOrientation() const;
    /// A locked piece shows neither buttons nor handle. Unlocking brings the handle back with the
    /// next show() only.
    void setLocked(bool locked);
    /// Whether the buttons may be seen. They are where the line is visible and has room for them.
    void showButtons(bool on);
    /// Expand buttons of 36 instead of 32 pixels.
    void sizeForFinger(bool on);

signals:
    void mouseMove(QPoint position); ///< Dragged to this place, in global coordinates.
    void mouseOverWidget(bool isOverWidget);
    void dragFinished();
    void lockedPressed(QPoint position); ///< A locked piece was pressed; global coordinates.

protected:
    void updateShape();

private slots:
    void onTouchScreenButtonPressed();
    void onTouchScreenButtonReleased();

private:
    QWidget* area() const;
    bool hasButtons() const { return !m_boxHint.isEmpty(); }
    void place();
    void placeBox();
    void keepBoxInside();
    void updateButtonVisibility();
    void createHandle();
    void showHandle();
    void setTouchScreenButtonPosition(const int& x, const int& y);

    QPointer<QtQVSplitterFrame> m_line;
    QPointer<QFrame> m_box;
    QRect m_boxRect;
    QSize m_boxHint; ///< Of the buttons made so far.
    bool m_forFinger = false;
    QRect m_rect;
    int m_position;
    QPointer<QtDraggerButton> m_handle;
    bool m_buttonsDoNotFit = false;
    bool m_buttonsHidden = false;
};
