#pragma once

#include "vlrGuiExport.h"

class QAbstractButton;
class QWidget;

namespace vlr {

/// What a finger must hit is at least this wide and high: 9 mm at 96 dots per inch, in pixels.
constexpr int fingerSize = 35;

/// Makes a button large enough for a finger, or gives it back its own size. Only the height of a
/// button with a text is set; whoever lays such buttons out sees to their width.
VLR_GUI_EXPORT void sizeForFinger(QAbstractButton* button, bool on);

/// Whether the widget stands in a dialog that was made large enough for fingers; for those who
/// size by themselves what is pressed there, as the rows of a list.
VLR_GUI_EXPORT bool isForFingers(const QWidget* widget);
/// Says so of the dialog, and has its trees measure their rows again.
VLR_GUI_EXPORT void markForFingers(QWidget* dialog, bool on);

} // namespace vlr
