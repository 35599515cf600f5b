// The default record of a computation, with its resource needs estimated.
#pragma once

#include "constants/compute_settings.h"

// Pi by Chudnovsky at 50,000,000 digits in Ram Only with the default thread
// count, names and stems built, then memoryNeeded and diskNeeded estimated.
// benchmarkFlag is cleared last. `heap` is unused (null at the menus).
void initComputeSettings(Heap* heap, ComputeSettings* settings);
