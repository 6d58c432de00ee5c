#pragma once

#include "Base/ApplicationServices.h"

#include <QtCore/QString>

class QtModuleSelector;

/// The requests to the main window that a selector may offer beside the modules, in the order in
/// which they stand.
struct ModuleRequest {
    const char* iconName;
    const char* toolTip;
    const char* selectorSignal; ///< As SIGNAL() spells it.
    ApplicationServices::Request request;
};

constexpr int moduleRequestCount = 4;
const ModuleRequest& moduleRequest(int index);
QString moduleRequestToolTip(int index);

/// From now on the selector's signal is a request to the running application; nothing where there
/// is none.
void connectModuleRequest(QtModuleSelector* selector, int index);

/// Whether the running application would answer the request now.
bool isModuleRequestAnswered(int index);

/// Calls the selector's slot, given as SLOT() spells it, when isModuleRequestAnswered() changed.
void followModuleRequests(QtModuleSelector* selector, const char* slot);
