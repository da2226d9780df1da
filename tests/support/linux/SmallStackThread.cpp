#include "tests/support/SmallStackThread.h"

#include <pthread.h>

namespace zel::test {

namespace {

void* Call(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

}  // namespace

void RunOnSmallStack(const std::function<void()>& work, std::size_t size) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
    pthread_t thread{};
    void* const argument = const_cast<std::function<void()>*>(&work);
    pthread_create(&thread, &attributes, Call, argument);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace zel::test
