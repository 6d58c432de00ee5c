#pragma once

#include "vlrGuiExport.h"

class QtModuleList;
class QtModuleSelector;

namespace vlr {

/// Lets the selector follow the list and ask it; each hears everything once, also when they were
/// connected already. The list's state is not replayed.
VLR_GUI_EXPORT void connectSelector(QtModuleSelector* selector, QtModuleList* list);
VLR_GUI_EXPORT void disconnectSelector(QtModuleSelector* selector, QtModuleList* list);

} // namespace vlr
