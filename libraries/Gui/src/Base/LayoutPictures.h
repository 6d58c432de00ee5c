#pragma once

#include "Base/QuadViewGeometry.h"
#include "vlrGuiExport.h"

#include <QtCore/QSize>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QPixmap>

#include <array>
#include <functional>

namespace vlr {

/// An icon of this size (pixels) that is drawn when it is first shown, for the screen on which it
/// is shown. Where it is shown smaller, the whole of it is.
VLR_GUI_EXPORT QIcon iconOf(const QSize& size,
                            const std::function<QPixmap(qreal devicePixelRatio)>& draw);

/// What an expand button does with the two views beside its splitter.
enum class ExpandPicture { Left, BothColumns, Right, Upper, BothRows, Lower };

/// The side of the picture on an expand button, and on a touch handle, in pixels.
constexpr int expandPictureSide = 24;
constexpr int touchPictureSide = 40;

/// The picture on an expand button: the two views, filled the one that grows, with an arrow the
/// way it grows. Drawn for the device pixel ratio.
VLR_GUI_EXPORT QPixmap expandPixmap(ExpandPicture picture, qreal devicePixelRatio);

/// A small picture of a layout: each view that is seen, filled with its colour. Extents are
/// per-mille, in view order (see QuadViewGeometry). A layout with an invalid extent is drawn as an
/// empty, dashed frame. Drawn for the device pixel ratio.
VLR_GUI_EXPORT QPixmap layoutPixmap(const QuadViewGeometry::Extents& extents,
                                    const std::array<QColor, 4>& colors, const QSize& size,
                                    qreal devicePixelRatio);

/// The picture on a touch handle: arrows along which it can be dragged. Orientations as of
/// QtQVSplitterFrame: 0 up and down, 1 left and right, 2 all four. Drawn for the device pixel
/// ratio.
VLR_GUI_EXPORT QPixmap touchHandlePixmap(int orientation, qreal devicePixelRatio);

} // namespace vlr
