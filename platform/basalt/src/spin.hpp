// Waiting a little before going to sleep.
#pragma once

#include <chrono>
#include <thread>

namespace basalt {

inline void pause_processor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#else
    std::this_thread::yield();
#endif
}

/// Looks at \p done again and again for as long as \p limit; its last answer.
template <typename Done>
bool spin_until(std::chrono::nanoseconds limit, Done&& done) {
    const auto end = std::chrono::steady_clock::now() + limit;
    do {
        for (int i = 0; i < 16; ++i) {
            if (done()) {
                return true;
            }
            pause_processor();
        }
    } while (std::chrono::steady_clock::now() < end);
    return done();
}

} // namespace basalt
