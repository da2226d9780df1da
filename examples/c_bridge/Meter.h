#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// The C side calls OpenMeters first and CloseMeters last.
void OpenMeters(void);
void CloseMeters(void);

// The keys, each with the arguments that follow it.

// const char* name, double value, int* isNew: adds a reading. *isNew is set to 1 if it is the
// meter's first one, else to 0.
extern char meterTake;

// const char* name, double* average, int* isKnown: sets *average to the average of a meter's
// readings and *isKnown to 1, or only *isKnown to 0 if there is no such meter.
extern char meterAverage;

#ifdef __cplusplus
}
#endif
