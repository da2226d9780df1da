#include "zel/platform/linux/Symbolizer.h"

#include <dlfcn.h>

namespace zel::platform {

const char* Symbolizer::GetName() noexcept {
    return "dladdr";
}

bool Symbolizer::Prepare() noexcept {
    return true;
}

void Symbolizer::Report(const StackFrame& frame, StackTraceSink& sink) {
    StackFrame named = frame;
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(frame.address), &info) != 0) {
        named.function = info.dli_sname;
    }
    sink.OnFrame(named);
}

void Symbolizer::ReportOfCrash(const StackFrame& frame, StackTraceSink& sink) {
    Report(frame, sink);
}

}  // namespace zel::platform
