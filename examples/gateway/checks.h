/* What the gateway and its plug-in in C share. */

#ifndef EXAMPLES_GATEWAY_CHECKS_H
#define EXAMPLES_GATEWAY_CHECKS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns non-zero to send a reading. */
typedef int Check(double value);

/* Calls the key `addCheck` with the name of a register and a Check, any number of times. */
void InstallChecks(void* addCheck);

#ifdef __cplusplus
}
#endif

#endif
