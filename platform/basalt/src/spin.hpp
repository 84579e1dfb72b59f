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

/// Looks at \p done again and again for as long as \p limit; its last answer. After the first microsecond it
/// offers its processor to others each time: what it waits for may be done by a thread that shares it.
template <typename Done>
bool spin_until(std::chrono::nanoseconds limit, Done&& done) {
    using clock = std::chrono::steady_clock;
    const auto begin = clock::now();
    const auto end = begin + limit;
    const auto polite_from = begin + std::chrono::microseconds(1);
    for (auto now = begin; now < end; now = clock::now()) {
        if (now >= polite_from) {
            std::this_thread::yield();
        }
        for (int i = 0; i < 16; ++i) {
            if (done()) {
                return true;
            }
            pause_processor();
        }
    }
    return done();
}

} // namespace basalt
