#pragma once

#include <QtCore/QString>
#include <QtGui/QColor>

#include <array>

/// A voxel of a volume, or a count of voxels: x, y and z. In a head that lies in the scanner x
/// points to the right of an axial picture, y to its bottom and z out of it, to the top of the
/// head.
using Voxel = std::array<int, 3>;
/// A place in a volume, counted as voxels are. Whole numbers are the centres of voxels.
using VolumePoint = std::array<double, 3>;

/// The planes in which a volume is looked at.
enum class Plane { Axial, Coronal, Sagittal };

constexpr std::array<Plane, 3> allPlanes{Plane::Axial, Plane::Coronal, Plane::Sagittal};

/// The axes of a picture of the plane, 0 for x to 2 for z.
///
/// | plane    | to the right | vertically |
/// |----------|--------------|------------|
/// | axial    | x            | y downward |
/// | coronal  | x            | z upward   |
/// | sagittal | y            | z upward   |
struct PlaneAxes {
    std::size_t normal; ///< The axis along which its slices are counted.
    std::size_t right;
    std::size_t vertical;
    bool isUpward; ///< Whether the vertical axis points to the top of the picture.
};

PlaneAxes axesOf(Plane plane);
QString planeName(Plane plane); ///< As the user reads it.
QColor planeColor(Plane plane); ///< Of its title, and of its line in the other planes.
