#include "zel/core/Logger.h"
#include "zel/data/DataTree.h"

#include <iostream>
#include <string>

namespace {

class LastLineSink : public zel::LogSink {
public:
    void Write(const zel::LogRecord& record) override { m_text = record.text; }
    const std::string& GetText() const { return m_text; }

private:
    std::string m_text;
};

zel::RCPtr<LastLineSink> LogToSink() {
    zel::RCPtr<LastLineSink> sink(new LastLineSink);
    zel::RCPtr<zel::Logger> logger(new zel::Logger);
    logger->AddSink(sink);
    logger->Start();
    zel::Logger::SetInstance(logger);
    return sink;
}

}  // namespace

// The program creates an object that the library changes, catches an exception that the library
// throws, and derives a class that the library's logger calls.
int main() {
    const zel::RCPtr<LastLineSink> sink = LogToSink();
    zel::RCPtr<zel::DataTree> station(new zel::DataTree("station", ""));
    station->SetChildValue("name", "North pier");
    try {
        std::cout << station->GetChildValue("name") << '\n';
        station->GetChildValue("height");
    } catch (const zel::DataTreeEx& ex) {
        std::cout << ex.AsString() << '\n' << sink->GetText() << '\n';
        return sink->GetText().ends_with(ex.what()) ? 0 : 1;
    }
    return 1;
}
