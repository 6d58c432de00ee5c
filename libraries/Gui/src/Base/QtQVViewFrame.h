#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtGui/QPalette>
#include <QtWidgets/QFrame>

class QHBoxLayout;

/// The frame of one of the four views: it holds the view's content, a widget added to its layout,
/// and reports a press on it.
///
///     content->setParent(frame);
///     frame->layout()->addWidget(content);
///
/// Colours come from the settings "Velora/Application/QtQuadView/ButtonColor", ".../
/// BackgroundColor" and ".../SelectedColor" (red, green and blue from 0 to 255) when the frame is
/// made. While the button colour is the default (1, 0, 0) no colours are applied at all. Content
/// with a palette of its own keeps it.
class VLR_GUI_EXPORT QtQVViewFrame : public QFrame {
    Q_OBJECT

public:
    explicit QtQVViewFrame(QWidget* parent);
    ~QtQVViewFrame() override;

    /// What was added last; null after it, or anything else, was removed. The layout is the first.
    QObject* getCurrentChild() const { return m_child; }
    QWidget* contentWidget() const; ///< The current child where it is a widget, else null.

    /// Closes and deletes the content: taken out at once, and deleted by the event loop where one
    /// runs, since the content itself may be what leads to this.
    void removeWidget();

    /// Gives the frame the look of the current view, or takes it away.
    void setFocus(bool on);
    using QFrame::setFocus;

    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    /// For content that is chosen by other means than a press, for example by the keyboard.
    void widgetActivatedSL();

signals:
    void getFocus(QtQVViewFrame* frame);

protected:
    void childEvent(QChildEvent* event) override;

private:
    void readColors();
    void colorContent(QWidget* content, bool on);
    void discard(QWidget* content);

    bool m_hasColors = false;
    bool m_hasFocus = false;
    bool m_handsPressOn = false;
    QPointer<QObject> m_child;
    QPalette m_selectedPalette;
    QPalette m_normalPalette;
    QHBoxLayout* m_layout;
};
