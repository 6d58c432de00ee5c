#pragma once

#include "Error/CaError.h"

namespace vlr {

/// Whether it is known where the files of the user belong; to be asked before the application
/// object is made. An error where HOME is not set, is not an absolute path, or is the root folder:
/// whatever is stored then would end up there, or in the folder in which the program was started,
/// and not be found again. XDG_CONFIG_HOME, XDG_DATA_HOME, XDG_CACHE_HOME, XDG_STATE_HOME and
/// TMPDIR that are no absolute paths are taken out of the environment, with a "WARNING".
VLR_CORE_EXPORT CaError checkUserFolders();

} // namespace vlr
