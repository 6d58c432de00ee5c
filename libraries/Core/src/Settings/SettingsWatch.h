#pragma once

#include "vlrCoreExport.h"

class QString;

namespace vlr {

/// Calls the function with every key that Settings::get() is asked for, written without a slash
/// before it; nullptr ends that. For tests, which cannot see otherwise what a program reads.
VLR_CORE_EXPORT void watchSettings(void (*watcher)(const QString& key));

} // namespace vlr
