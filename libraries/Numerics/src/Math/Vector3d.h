#pragma once

#include "vlrNumericsExport.h"

#include <Eigen/Core>

#include <optional>
#include <string>

/// Three doubles: a point or direction in millimetres, or the red, green and blue of a colour.
using Vector3d = Eigen::Vector3d;

namespace vlr {

/// The vector as text that vector3dFromText() reads back exactly: "1 0.5 0".
VLR_NUMERICS_EXPORT std::string toText(const Vector3d& vector);

/// Reads three finite numbers separated by blanks or single commas, optionally in parentheses:
/// "1 0 0", "1, 0, 0", "(1, 0, 0)". Anything else, also "nan" and "inf", gives no value.
VLR_NUMERICS_EXPORT std::optional<Vector3d> vector3dFromText(const std::string& text);

} // namespace vlr
