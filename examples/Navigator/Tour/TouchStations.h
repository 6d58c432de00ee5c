#pragma once

#include "Tour/TourActions.h"

class AppBase;

/// The module Images in touch-screen mode, with layouts from the column of buttons. Before and
/// after it the module is active and shows a volume.
void touchStations(TourActions& actions, AppBase& application);
