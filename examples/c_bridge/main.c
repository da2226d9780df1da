/* Plain C that uses objects of a C++ program through the bridge. */

#include "Meter.h"

#include "zel/bridge/ZelBridge.h"

#include <stdio.h>

static void PrintAverage(const char* name) {
    double average = 0;
    int isKnown = 0;
    ZelCppBridge(&meterAverage, name, &average, &isKnown);
    if (isKnown) {
        printf("%s: %.2f\n", name, average);
    } else {
        printf("%s: there is no such meter\n", name);
    }
}

int main(void) {
    char name[32];
    double value = 0;

    OpenMeters();
    while (scanf("%31s %lf", name, &value) == 2) {
        int isNew = 0;
        ZelCppBridge(&meterTake, name, value, &isNew);
        if (isNew) {
            printf("%s is new\n", name);
        }
    }
    PrintAverage("wind");
    PrintAverage("rain");
    PrintAverage("snow");
    CloseMeters();
    return 0;
}
