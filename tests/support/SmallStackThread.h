#pragma once

#include <functional>
#include <pthread.h>

namespace zel::test {

// Calls `work` on a thread with a stack of `size` bytes and waits for it.
inline void RunOnSmallStack(std::function<void()> work, std::size_t size = 256 * 1024) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
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
