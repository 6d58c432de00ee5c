#pragma once

#include "Tour/TourActions.h"

/// The module Tracking, with the simulated camera and with a recording. It is active before and
/// after it, and shows a volume.
void trackingStations(TourActions& actions);
