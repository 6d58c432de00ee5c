#pragma once

#include "Tour/TourActions.h"

class AppBase;

/// Stage 1 is a first start in an empty environment, stage 2 the start after it. Each ends with
/// the application's exit, or throws TourFailure.
void runTourStage(int stage, TourActions& actions, AppBase& application);
