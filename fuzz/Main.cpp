#include "zel/core/Logger.h"

#include "fuzz/Target.h"

#include <cstdint>

namespace {

class NoSink : public zel::LogSink {
public:
    void Write(const zel::LogRecord&) override {}
};

}  // namespace

// Enables every log level, as messages contain untrusted input too.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    constexpr int everything = 6;
    const zel::RCPtr<zel::Logger> logger(new zel::Logger);
    logger->SetGlobalLogLevel(everything);
    logger->AddSink(new NoSink);
    logger->Start();
    zel::Logger::SetInstance(logger);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    zel::fuzz::Run(zel::fuzz::Input({reinterpret_cast<const char*>(bytes), size}));
    return 0;
}
