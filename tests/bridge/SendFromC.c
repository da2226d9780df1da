#include "zel/bridge/ZelBridge.h"

void SendFromC(void* key, int count) {
    ZelCppBridge(key, count);
}
