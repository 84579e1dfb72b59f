#pragma once

#include <qtx_services.h>

#include <cstdint>

namespace aurelo::qtx::gpu {

/// Holds a lock of the process's services.
class service_guard {
public:
    explicit service_guard(int& lock) : lock_(&lock) { qtx_serv_lock(lock_); }
    ~service_guard() { qtx_serv_unlock(lock_); }
    service_guard(const service_guard&) = delete;
    service_guard& operator=(const service_guard&) = delete;

private:
    int* lock_;
};

/**
 * \brief Runs \p attempt, which tells whether it succeeded, in the first call; later calls only report how it
 * ended.
 * \param initialized 0 before the attempt, then 1 or -1 for good
 * \param status the result of the last call: 0 after a success, else -1
 */
template <typename Attempt>
std::int32_t load_once(int& lock, std::int32_t& initialized, std::int32_t& status, Attempt attempt) {
    const service_guard guard(lock);
    if (initialized == 0) {
        initialized = attempt() ? 1 : -1;
    }
    status = initialized == 1 ? 0 : -1;
    return status;
}

} // namespace aurelo::qtx::gpu
