#pragma once

#include "Tour/TourActions.h"

/// Screenshots are taken and looked at again. Before and after it the first module is active, and
/// there is a current patient.
void reviewStations(TourActions& actions);
