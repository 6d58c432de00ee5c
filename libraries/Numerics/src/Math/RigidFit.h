#pragma once

#include "Math/Vector3d.h"

#include <optional>
#include <vector>

namespace vlr {

/// A rotation followed by a translation (millimetres).
struct RigidTransform {
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
    Vector3d translation = Vector3d::Zero();

    Vector3d operator*(const Vector3d& point) const { return rotation * point + translation; }
};

/// The rigid transform that brings one set of points closest to another, and how close.
struct RigidFit {
    RigidTransform transform;
    double rms = 0; ///< Square root of the mean squared distance that is left, in millimetres.
};

/// Fits `model` onto `measured`, point by point, in the sense of least squares.
///
///     if (const auto fit = fitRigid(geometry, seen))
///         tip = fit->transform * tipOfModel;
///
/// No value is given for fewer than three pairs, lists of different length, a coordinate that is
/// not finite, and points so nearly on one line that the rotation about it is not determined (the
/// second largest extent below a thousandth of the largest), in either list. The result is always
/// a rotation, never a reflection; planar sets are no exception.
///
/// The method is the singular value decomposition of the cross-covariance:
/// K. S. Arun, T. S. Huang, S. D. Blostein, "Least-squares fitting of two 3-D point sets", IEEE
/// Transactions on Pattern Analysis and Machine Intelligence 9(5), 1987; with the sign that makes
/// it a rotation in every case after S. Umeyama, "Least-squares estimation of transformation
/// parameters between two point patterns", same journal, 13(4), 1991.
VLR_NUMERICS_EXPORT std::optional<RigidFit> fitRigid(const std::vector<Vector3d>& model,
                                                     const std::vector<Vector3d>& measured);

} // namespace vlr
