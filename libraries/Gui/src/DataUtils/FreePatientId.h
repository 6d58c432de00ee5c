#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QString>

#include <vector>

namespace vlr {

/// The lowest number from 0 that no patient has as id, below `maximum` and written with as many
/// digits as `maximum` has; empty when all are in use. "7" and "0007" are the same number, since
/// people take them for the same. So are ids in several forms, see
/// normalizedId().
VLR_GUI_EXPORT QString firstFreePatientId(const std::vector<QString>& ids, int maximum);

} // namespace vlr
