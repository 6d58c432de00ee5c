#pragma once

#include <QtCore/QString>

#include <vector>

/// Draws times over sizes, both logarithmic, with the fitted power, as a PNG. Throws
/// std::runtime_error if the file cannot be written.
void plotGrowth(const QString& path, const QString& title, const std::vector<double>& sizes,
                const std::vector<double>& nanoseconds, double exponent);
