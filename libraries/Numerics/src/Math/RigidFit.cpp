#include "Math/RigidFit.h"

#include <Eigen/LU>
#include <Eigen/SVD>

#include <cmath>

namespace vlr {

namespace {

using Points = Eigen::Matrix3Xd;

// The points as columns, relative to their mean.
Points centred(const std::vector<Vector3d>& points, Vector3d& mean) {
    Points columns(3, static_cast<Eigen::Index>(points.size()));
    for (std::size_t i = 0; i < points.size(); ++i)
        columns.col(static_cast<Eigen::Index>(i)) = points[i];
    mean = columns.rowwise().mean();
    return columns.colwise() - mean;
}

bool spansPlane(const Points& points) {
    constexpr double leastRatio = 1e-3;
    const Vector3d extents = Eigen::JacobiSVD<Points>(points).singularValues();
    return extents[0] > 0 && extents[1] > leastRatio * extents[0];
}

} // namespace

std::optional<RigidFit> fitRigid(const std::vector<Vector3d>& model,
                                 const std::vector<Vector3d>& measured) {
    if (model.size() < 3 || model.size() != measured.size())
        return std::nullopt;
    Vector3d modelMean;
    Vector3d measuredMean;
    const Points from = centred(model, modelMean);
    const Points to = centred(measured, measuredMean);
    if (!from.allFinite() || !to.allFinite() || !spansPlane(from) || !spansPlane(to))
        return std::nullopt;

    const Eigen::JacobiSVD<Eigen::Matrix3d> svd(from * to.transpose(),
                                                Eigen::ComputeFullU | Eigen::ComputeFullV);
    const Eigen::Matrix3d turned = svd.matrixV() * svd.matrixU().transpose();
    const Vector3d signs(1, 1, turned.determinant() < 0 ? -1 : 1);

    RigidFit fit;
    fit.transform.rotation = svd.matrixV() * signs.asDiagonal() * svd.matrixU().transpose();
    fit.transform.translation = measuredMean - fit.transform.rotation * modelMean;
    const double squares = (fit.transform.rotation * from - to).squaredNorm();
    fit.rms = std::sqrt(squares / static_cast<double>(model.size()));
    return fit;
}

} // namespace vlr
