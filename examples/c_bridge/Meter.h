#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// What the C side has to call first and last.
void OpenMeters(void);
void CloseMeters(void);

// The keys, and what stands behind each.

// const char* name, double value, int* isNew: takes a reading; isNew tells whether the meter was
// unknown before.
extern char meterTake;

// const char* name, double* average: the average of a meter's readings.
// The int that comes back, through a pointer more, is 1, or 0 if there is no such meter.
extern char meterAverage;

#ifdef __cplusplus
}
#endif
