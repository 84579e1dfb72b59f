// Tells the thread sanitizer of the order that an OpenMP team's start, barriers and end give. The OpenMP run-time is not
// compiled for the sanitizer, which would otherwise see every shared value as a race.
#pragma once

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace tsb {

/// What happened before a release happens before what follows the acquire. One for all teams: a worker must reach it
/// without reading what it shares with the thread that started the team.
struct team_edge {
#if defined(__SANITIZE_THREAD__)
    static void release() {
        __tsan_release(&word);
    }
    static void acquire() {
        __tsan_acquire(&word);
    }
    static inline char word = 0;
#else
    static void release() {}
    static void acquire() {}
#endif

    /// A barrier of the team.
    static void barrier() {
        release();
#pragma omp barrier
        acquire();
    }
};

} // namespace tsb
