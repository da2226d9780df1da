// Programs with a mistake each, and the text of the first error that a compiler reports.

#ifdef CALLABLE_OF_ANOTHER_TYPE  // Connect needs a callable that takes const T&, after the owner if
                                 // there is one, and returns bool or nothing
#include "zel/foundation/EventSource.h"
void Subscribe(zel::EventSource<std::string>& changed) {
    changed.Connect([](int) {});
}
#endif

#ifdef SCOPED_CALLABLE_WITH_A_RESULT  // Connect needs a callable that takes const T&, after the
                                      // owner if there is one, and returns bool or nothing
#include "zel/foundation/EventSource.h"
void Subscribe(zel::EventSource<int>& changed) {
    const auto connection = changed.ConnectScoped([](int) { return std::string(); });
}
#endif

#ifdef MEMBER_FUNCTION_WITHOUT_THE_VALUE  // Connect needs a callable that takes const T&, after the
                                          // owner if there is one, and returns bool or nothing
#include "zel/foundation/EventSource.h"
struct Display : zel::RCObject {
    void OnChanged() {}
};
void Subscribe(zel::EventSource<int>& changed, Display* display) {
    changed.Connect(display, &Display::OnChanged);
}
#endif

#ifdef OWNER_WITHOUT_A_COUNT  // WeakPtr needs a complete class that is derived from RCObject
#include "zel/foundation/EventSource.h"
struct Display {
    void OnChanged(int) {}
};
void Subscribe(zel::EventSource<int>& changed, Display* display) {
    changed.Connect(display, &Display::OnChanged);
}
#endif

#ifdef POINTER_TO_A_NUMBER  // RCPtr needs a complete class that is derived from RCObject
#include "zel/core/RCPtr.h"
zel::RCPtr<int> number(new int);
#endif

#ifdef UNPRINTABLE_ARGUMENT  // Log, Throw and Fail need arguments that can be written to a
                             // std::ostream by <<
#include "zel/foundation/Log.h"
struct Point {};
void Report(const zel::LogArea& area) {
    zel::Log(area, 3, "Moved to ", Point());
}
#endif

#ifdef UNPRINTABLE_ARGUMENT_OF_THROW  // Log, Throw and Fail need arguments that can be written to a
                                      // std::ostream by <<
#include "zel/foundation/Log.h"
struct Point {};
void Report(const zel::LogArea& area) {
    zel::Throw<zel::Exception>(area, Point(), " is outside");
}
#endif

#ifdef LAMBDA_AS_CRASH_CALLBACK  // Initialize needs null or a CrashCallback, which BindCallback
                                 // makes of a callable
#include "zel/crashd/CrashHandler.h"
int main(int argc, char** argv) {
    zel::CrashHandler::Initialize(argc, argv, [](const zel::zel_crash_msg_s*) {});
}
#endif

#ifdef CPP_17  // zelAdvanced needs C++20: compile with -std=c++20 or later
#include "zel/variant/Variant.h"
#endif
