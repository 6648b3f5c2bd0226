// Code that must get along with little stack.
#pragma once

#include <cstddef>
#include <pthread.h>

/// Runs `body` on a thread with `stackBytes` of stack, and waits for it. False when it could not be started.
template <typename Body> bool runWithStack(std::size_t stackBytes, Body body)
{
    pthread_attr_t attributes;
    pthread_t thread;
    const auto entry = [](void* argument) -> void* {
        (*static_cast<Body*>(argument))();
        return nullptr;
    };
    if (::pthread_attr_init(&attributes) != 0)
        return false;
    const bool started = ::pthread_attr_setstacksize(&attributes, stackBytes) == 0
        && ::pthread_create(&thread, &attributes, entry, &body) == 0;
    (void)::pthread_attr_destroy(&attributes); // they were only read
    return started && ::pthread_join(thread, nullptr) == 0;
}
