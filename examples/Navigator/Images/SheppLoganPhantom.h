#pragma once

#include <vector>

/// The three-dimensional head phantom of Shepp and Logan: a skull with ten ellipsoids of known
/// place and grey value, by which image processing is tried out.
///
/// Geometry: L. A. Shepp, B. F. Logan, "The Fourier reconstruction of a head section", IEEE
/// Transactions on Nuclear Science 21 (1974), in the three-dimensional extension tabulated by
/// A. C. Kak, M. Slaney, "Principles of Computerized Tomographic Imaging", IEEE Press (1988).
/// Grey values: raised in contrast after P. A. Toft, "The Radon Transform: Theory and
/// Implementation", Technical University of Denmark (1996): skull 1, brain 0.2.

/// The grey value, 0 to 1, at a point. The head fills most of the cube from -1 to 1: x points to
/// the right of the picture, y to its top, z to the top of the head.
double sheppLoganValue(double x, double y, double z);

/// The values at the centres of `size` voxels a side, x fastest, then y from the top, then z.
std::vector<float> sheppLoganVolume(int size);
