#pragma once

#include "Error/CaError.h"
#include "Math/Vector3d.h"
#include "vlrNavigationExport.h"

#include <QtCore/QString>

#include <string>
#include <vector>

namespace vlr {

/// The shape of a tool: where its markers are, in millimetres, in the tool's own coordinates.
///
/// It is kept in a small XML file, one per tool:
///
///     <tool version="1" name="Pointer">
///       <marker x="0" y="0" z="0"/>
///       <marker x="50" y="0" z="0"/>
///       <marker x="0" y="35.5" z="0"/>
///     </tool>
struct ToolGeometry {
    std::string name; ///< UTF-8, printable; what trackers call the tool. At most 64 bytes.
    std::vector<Vector3d> markers;
};

/// Most markers that a tool may have.
constexpr int mostMarkers = 32;

/// Reads a geometry file, or one that is compiled into the program (":/..."). The error names the
/// file and the cause, with the line where there is one: missing, larger than 64 KiB, not UTF-8 or
/// not well formed, a document type, an unknown version, element or attribute, no name or one
/// that is over-long or not printable, a coordinate that is missing, not finite or beyond 1000 mm,
/// and markers that checkGeometry() refuses. `geometry` is set on success only.
VLR_NAVIGATION_EXPORT CaError readToolGeometry(const QString& path, ToolGeometry& geometry);

/// Whether a pose can be told from the markers: there are 3 to mostMarkers of them, finite and not
/// on one line, and the tool has a printable name.
VLR_NAVIGATION_EXPORT CaError checkGeometry(const ToolGeometry& geometry);

} // namespace vlr
