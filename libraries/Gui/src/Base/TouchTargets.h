#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>

class QAbstractButton;

namespace vlr {

/// What a finger must hit is at least this wide and high: 9 mm at 96 dots per inch, in pixels.
constexpr int fingerSize = 35;

/// Makes a button large enough for a finger, or gives it back its own size. Only the height of a
/// button with a text is set; whoever lays such buttons out sees to their width.
VLR_GUI_EXPORT void sizeForFinger(QAbstractButton* button, bool on);

/// While it is installed on the application, what is pressed or typed into in a dialog is large
/// enough for a finger when the dialog is shown.
class VLR_GUI_EXPORT TouchDialogs : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace vlr
