#pragma once

#include "IO/MetaInformation.h"

#include <QtCore/QString>

#include <vector>

/// The lowest number from 1 that no patient has as id, below `maximum` and written with as many
/// digits as `maximum` has; empty when all are in use. "7" and "0007" count as the same number,
/// since people take them for the same.
QString firstFreePatientId(const std::vector<MetaInformation>& patients, int maximum);
