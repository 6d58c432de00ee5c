#pragma once

#include "Data/Configuration.h"

namespace vlr {

/// The files of configurations, which DataIOManager tells of.

QString configurationFile(const QString& name);
CaError readConfiguration(const QString& path, Configuration& configuration);
CaError writeConfiguration(const QString& path, const Configuration& configuration);

} // namespace vlr
