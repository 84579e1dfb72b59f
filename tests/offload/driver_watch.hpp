#pragma once

#include <CL/cl.h>
#include <basalt/basalt.h>

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// What functions of drivers and of the C library do that this executable puts its own in front of.
struct driver_watch {
    std::atomic<int> tried_allocations = 0;     ///< of device memory
    std::atomic<bool> no_threads = false;       ///< threads that this process tries to start fail
    std::atomic<void*> refused_user = nullptr;  ///< callbacks asked for with it are refused
    std::atomic<void*> watched_user = nullptr;  ///< the event of a callback asked for with it is kept
    std::atomic<cl_event> kept_event = nullptr; ///< and retained

    std::mutex lock;
    std::vector<std::string> launched; ///< names of the kernels given to software GPUs, in order
    std::string delayed;               ///< commands whose kernel has this in its name wait for
    bs_event_handle_t gate = nullptr;  ///< this event, too, unless it is null

    std::vector<std::string> take_launched() {
        const std::lock_guard guard(lock);
        return std::exchange(launched, {});
    }
};

driver_watch& watch();

} // namespace test
