/* A plug-in for the gateway in plain C: drops impossible readings. */

#include "checks.h"

#include "zel/bridge/ZelBridge.h"

static int IsLevel(double metres) {
    return metres >= 0 && metres < 20;
}

void InstallChecks(void* addCheck) {
    ZelCppBridge(addCheck, "level", IsLevel);
}
