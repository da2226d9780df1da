#pragma once

#include <functional>
#include <pthread.h>

namespace zel::test {

// Calls `work` on a thread with a stack of 256 KiB and waits for it.
inline void RunOnSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_create(&thread, &attributes, run, &work);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace zel::test
