#pragma once

#include "Error/CaError.h"

#include <QtCore/QStringList>

/// Makes sure that the example images, all phantomFiles(), are in phantomFolder(). They appear
/// there all at once or not at all. Other files in the folder stay, and do not belong to the
/// example.
CaError providePhantom();

constexpr int phantomSize = 128;     ///< Voxels, each way.
constexpr double phantomSpacing = 1; ///< Millimetres between the centres of voxels, each way.

QString phantomFolder(); ///< In the application's data folder.
/// The slices of the head phantom, from "slice_000.png" on, the lowest first; with their folder.
QStringList phantomFiles();
/// Whether the path leads to one of them, however it is written.
bool isPhantomFile(const QString& path);
