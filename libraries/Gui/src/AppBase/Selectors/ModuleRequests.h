#pragma once

#include <QtCore/QString>
#include <QtCore/Qt>

class QtAppMainWindow;
class QtModuleSelector;

/// The requests to the main window that a selector may offer beside the modules, in the order in
/// which they stand.
struct ModuleRequest {
    const char* iconName;
    const char* toolTip;
    const char* selectorSignal; ///< As SIGNAL() spells it.
    const char* windowMember;   ///< As SIGNAL() or SLOT() spells it.
};

constexpr int moduleRequestCount = 4;
const ModuleRequest& moduleRequest(int index);
QString moduleRequestToolTip(int index);

/// Connects the selector's request signal to the main window of the running application; nothing
/// where there is none.
void connectModuleRequest(QtModuleSelector* selector, int index);

/// Whether the main window would answer the request now.
bool isModuleRequestAnswered(int index);
