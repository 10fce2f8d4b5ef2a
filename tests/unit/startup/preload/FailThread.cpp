#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

// Preloaded into the daemon: of the threads that the main thread makes, the one whose number is in
// FAIL_THREAD (1 is the first) cannot be made.

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                              void* argument)
{
    static std::atomic<int> made{0};
    const char* failing = std::getenv("FAIL_THREAD");
    if (failing != nullptr && gettid() == getpid() && ++made == std::atoi(failing))
        return EAGAIN;
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, body, argument);
}
