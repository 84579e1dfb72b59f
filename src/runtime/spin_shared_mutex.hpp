#pragma once

#include <atomic>
#include <cstdint>

namespace aurelo::qtx::gpu {

inline void pause_processor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

/**
 * \brief A lock for many readers or one writer in one 32-bit word: bit 0 is the writer, the rest counts
 * readers.
 *
 * Meant for sections of a few instructions that are nearly always reads. Waiting spins. A waiting reader has
 * already counted itself, so readers go before writers: a writer enters when it finds the word at 0. A read
 * lock is never turned into a write lock. Works with std::shared_lock and std::unique_lock.
 *
 * \tparam Word an atomic 32-bit word
 * \tparam pause called between two looks at the word
 */
template <typename Word, void (*pause)()>
class basic_spin_shared_mutex {
public:
    constexpr basic_spin_shared_mutex() = default;
    basic_spin_shared_mutex(const basic_spin_shared_mutex&) = delete;
    basic_spin_shared_mutex& operator=(const basic_spin_shared_mutex&) = delete;

    void lock_shared() {
        if ((word_.fetch_add(reader, std::memory_order_acquire) & writer) == 0) {
            return;
        }
        while ((word_.load(std::memory_order_acquire) & writer) != 0) {
            pause();
        }
    }
    void unlock_shared() { word_.fetch_sub(reader, std::memory_order_release); }

    void lock() {
        for (std::uint32_t expected = 0; !word_.compare_exchange_strong(
                 expected, writer, std::memory_order_acquire, std::memory_order_relaxed);
             expected = 0) {
            pause();
        }
    }
    void unlock() { word_.fetch_sub(writer, std::memory_order_release); }

private:
    static constexpr std::uint32_t writer = 1;
    static constexpr std::uint32_t reader = 2;

    Word word_{0};
};

using spin_shared_mutex = basic_spin_shared_mutex<std::atomic<std::uint32_t>, pause_processor>;

} // namespace aurelo::qtx::gpu
