#pragma once

// Calls over the bridge that are made from C, each by the key of its name.
#ifdef __cplusplus
extern "C" {
#endif

enum Colour { COLOUR_RED = 1, COLOUR_GREEN = 2 };

extern char keyOfWidths;
extern char keyOfFractions;
extern char keyOfPointers;
extern char keyOfCount;

unsigned long long SendWidths(void);
double SendFractions(void);
const char* SendPointers(const char* text, void* object);
void SendCount(int count);
void SendTo(void* key);

#ifdef __cplusplus
}
#endif
