#include "Meter.h"

#include "zel/bridge/CFuncBinder.h"

#include <exception>
#include <map>
#include <string>

namespace {

struct Meter {
    double sum = 0;
    int readings = 0;
};

std::map<std::string, Meter> s_meters;

// Exceptions must not propagate into C code: returns 0 instead.
template <class Function>
int ReportFailure(Function function) {
    try {
        return function();
    } catch (const std::exception&) {
        return 0;
    }
}

int Take(const char* name, double value) {
    return ReportFailure([&] {
        const auto [place, isNew] = s_meters.try_emplace(name);
        place->second.sum += value;
        place->second.readings += 1;
        return isNew ? 1 : 0;
    });
}

int GetAverage(const char* name, double* average) {
    return ReportFailure([&] {
        const Meter& meter = s_meters.at(name);
        *average = meter.sum / meter.readings;
        return 1;
    });
}

}  // namespace

char meterTake;
char meterAverage;

void OpenMeters() {
    zel::CBinder::Prepare();
    zel::RegisterFunction(&meterTake, Take);
    zel::RegisterFunction(&meterAverage, GetAverage);
}

void CloseMeters() {
    zel::CBinder::Release();
}
