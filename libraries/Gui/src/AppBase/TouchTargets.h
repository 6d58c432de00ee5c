#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtWidgets/QStyle>
#include <QtWidgets/QWidget>

#include <vector>

class QAbstractButton;

namespace vlr {

/// What a finger must hit is at least this wide and high: 9 mm at 96 dots per inch, in pixels.
constexpr int fingerSize = 35;

/// Makes a button large enough for a finger, or gives it back its own size. Only the height of a
/// button with a text is set; whoever lays such buttons out sees to their width.
VLR_GUI_EXPORT void sizeForFinger(QAbstractButton* button, bool on);

/// Whether the widget stands in a dialog that TouchDialogs made large enough for fingers; for
/// those who size by themselves what is pressed there, as the rows of a list.
VLR_GUI_EXPORT bool isForFingers(const QWidget* widget);

/// As long as it lives, what is pressed or typed into is large enough for a finger in every dialog
/// and every editing widget of data (QtDataConfigurationWidget) that is shown: buttons, tabs,
/// fields, and the step buttons and arrows in fields. What is shown later in such a one follows.
/// With it everything goes back to the size it had. A field that was given a style of its own
/// keeps it; style sheets hold.
class VLR_GUI_EXPORT TouchDialogs : public QObject {
public:
    explicit TouchDialogs(QObject* parent = nullptr);
    ~TouchDialogs() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Grown {
        QPointer<QWidget> widget;
        QSize minimum;
        QPointer<QStyle> style; ///< Null where the widget has none of ours.
    };

    void growAll(QWidget* form);
    void grow(QWidget* widget);
    bool isGrown(const QWidget* widget) const;

    std::vector<Grown> m_grown;
};

} // namespace vlr
