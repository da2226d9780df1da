/* A plug-in for the intake station in plain C: drops the rows of the Antarctic. */

#include "zel/bridge/ZelBridge.h"

#include <string.h>

static int IsNotAntarctic(const char* zone) {
    return strncmp(zone, "Antarctica/", 11) != 0;
}

void InstallFilters(void* addFilter);

void InstallFilters(void* addFilter) {
    ZelCppBridge(addFilter, "zone", IsNotAntarctic);
}
