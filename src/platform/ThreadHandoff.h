#pragma once

// Work handed to another thread through Qt (its thread pool, its event queues)
// is synchronised inside Qt's prebuilt libraries, where ThreadSanitizer cannot
// see it. These mark the same hand-over in our own code, so that the sanitizer
// knows what Qt guarantees; in other builds they are nothing.

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define MELODRIFT_TSAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define MELODRIFT_TSAN 1
#endif

#ifdef MELODRIFT_TSAN
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

namespace platform::handoff {

inline char token;

// Call before handing work over...
inline void sent()
{
#ifdef MELODRIFT_TSAN
    __tsan_release(&token);
#endif
}

// ...and first thing where it arrives.
inline void received()
{
#ifdef MELODRIFT_TSAN
    __tsan_acquire(&token);
#endif
}

} // namespace platform::handoff
