#include "tests/bridge/CFunctions.h"

#include "zel/bridge/ZelBridge.h"

char keyOfWidths;
char keyOfFractions;
char keyOfPointers;
char keyOfCount;

unsigned long long SendWidths(void) {
    const signed char tiny = -128;
    const unsigned char byte = 255;
    const short narrow = -32768;
    const unsigned short wide = 65535;
    unsigned long long result = 0;
    ZelCppBridge(&keyOfWidths, tiny, byte, narrow, wide, -2147483647 - 1, 4294967295U, -3L, 4UL,
                 -5LL, 18446744073709551615ULL, COLOUR_GREEN, &result);
    return result;
}

double SendFractions(void) {
    const float single = 0.1F;
    double result = 0;
    ZelCppBridge(&keyOfFractions, single, 0.1, 7, 1e300, 0.25L, &result);
    return result;
}

const char* SendPointers(const char* text, void* object) {
    const char* result = "";
    ZelCppBridge(&keyOfPointers, text, object, (void*)0, &result);
    ZelCppBridge(&keyOfPointers, text, object, (void*)0, (const char**)0);
    return result;
}

void SendCount(int count) {
    ZelCppBridge(&keyOfCount, count);
}

void SendTo(void* key) {
    ZelCppBridge(key);
}
