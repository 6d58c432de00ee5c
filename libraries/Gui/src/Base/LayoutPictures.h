#pragma once

#include "vlrGuiExport.h"

#include <QtGui/QPixmap>

namespace vlr {

/// What an expand button does with the two views beside its splitter.
enum class ExpandPicture { Left, BothColumns, Right, Upper, BothRows, Lower };

/// The picture on an expand button: the two views, filled the one that grows, with an arrow the
/// way it grows. 24 x 24, drawn for the device pixel ratio.
VLR_GUI_EXPORT QPixmap expandPixmap(ExpandPicture picture, qreal devicePixelRatio);

/// The picture on a touch handle: arrows along which it can be dragged. Orientations as of
/// QtQVSplitterFrame: 0 up and down, 1 left and right, 2 all four. 40 x 40, drawn for the device
/// pixel ratio.
VLR_GUI_EXPORT QPixmap touchHandlePixmap(int orientation, qreal devicePixelRatio);

} // namespace vlr
