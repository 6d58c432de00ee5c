#pragma once

#include "Error/CaError.h"

#include <QtCore/QString>

/// Makes sure that the example images, slices of the head phantom as "slice_000.png" and so on,
/// are in phantomFolder(). They appear there all at once or not at all.
CaError providePhantom();

constexpr double phantomSpacing = 1; ///< Millimetres between the centres of voxels, each way.

QString phantomFolder(); ///< In the application's data folder.
