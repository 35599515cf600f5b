#include "shell/settings_init.h"

#include "shell/estimate.h"

void initComputeSettings(Heap* heap, ComputeSettings* settings) {
  fillDefaultComputeSettings(heap, settings);
  estimateResources(settings);
  settings->benchmarkFlag = 0;
}
