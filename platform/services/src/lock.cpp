#include <qtx_services.h>

#include <atomic>

namespace {

enum : int { is_free, is_held, is_contended };

} // namespace

// A held lock becomes contended when somebody waits for it, so that an undisputed unlock wakes nobody.
void qtx_serv_lock(int* lock) {
    const std::atomic_ref word(*lock);
    int seen = is_free;
    if (word.compare_exchange_strong(seen, is_held, std::memory_order_acquire, std::memory_order_relaxed)) {
        return;
    }
    while (word.exchange(is_contended, std::memory_order_acquire) != is_free) {
        word.wait(is_contended, std::memory_order_relaxed);
    }
}

void qtx_serv_unlock(int* lock) {
    const std::atomic_ref word(*lock);
    if (word.exchange(is_free, std::memory_order_release) == is_contended) {
        word.notify_one();
    }
}
