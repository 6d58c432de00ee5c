#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QSize>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QPixmap>

#include <array>
#include <functional>

namespace vlr {

/// An icon of the picture as it is drawn for screens of one, two and three device pixels a pixel.
VLR_GUI_EXPORT QIcon iconOf(const std::function<QPixmap(qreal devicePixelRatio)>& draw);

/// What an expand button does with the two views beside its splitter.
enum class ExpandPicture { Left, BothColumns, Right, Upper, BothRows, Lower };

/// The picture on an expand button: the two views, filled the one that grows, with an arrow the
/// way it grows. 24 x 24, drawn for the device pixel ratio.
VLR_GUI_EXPORT QPixmap expandPixmap(ExpandPicture picture, qreal devicePixelRatio);

/// A small picture of a layout: each view that is seen, filled with its colour. Extents are
/// per-mille, in view order (see QuadViewGeometry). A layout with an invalid extent is drawn as an
/// empty, dashed frame. Drawn for the device pixel ratio.
VLR_GUI_EXPORT QPixmap layoutPixmap(const std::array<QSize, 4>& extents,
                                    const std::array<QColor, 4>& colors, const QSize& size,
                                    qreal devicePixelRatio);

/// The picture on a touch handle: arrows along which it can be dragged. Orientations as of
/// QtQVSplitterFrame: 0 up and down, 1 left and right, 2 all four. 40 x 40, drawn for the device
/// pixel ratio.
VLR_GUI_EXPORT QPixmap touchHandlePixmap(int orientation, qreal devicePixelRatio);

} // namespace vlr
