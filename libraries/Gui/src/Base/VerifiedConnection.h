#pragma once

#include "vlrGuiExport.h"

namespace vlr {

/// Does nothing when `holds`. Otherwise writes "Assertion <expression> failed in <source> at
/// line <line>" to standard output and throws a WatchdogException with that text.
VLR_GUI_EXPORT void verify(bool holds, const char* expression, const char* source, int line);

} // namespace vlr
