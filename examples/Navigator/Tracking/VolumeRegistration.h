#pragma once

#include "Math/Vector3d.h"
#include "Volume/PlaneView.h"

/// Where a point beside the reference base is in the volume, for volumes that are registered
/// (Volume::isRegistered()): for others the result is without meaning. It is the simplest of all
/// registrations, for phantoms that are fixed to the base: the base's origin is the centre of the
/// volume, and its axes run as those of the voxels do (see Plane.h). Millimetres become voxels by
/// the volume's spacing; whole numbers are the centres of voxels, and nothing is clamped.
inline VolumePoint toVolume(const Volume& volume, const Vector3d& inReference) {
    VolumePoint point{};
    for (std::size_t axis = 0; axis < point.size(); ++axis)
        point[axis] = (volume.size()[axis] - 1) / 2.0 +
                      inReference[static_cast<Eigen::Index>(axis)] / volume.spacing()[axis];
    return point;
}
