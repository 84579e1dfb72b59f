#pragma once

#include <functional>

namespace sycl::detail {

/// Runs \p work on a thread of the runtime's pool. Host tasks and copies between memories run there.
void post_to_host_threads(std::function<void()> work);

/**
 * Marks a thread of the runtime or of a driver while it finishes commands. Destructors that block on user
 * threads must not do so there, since what they wait for may need the very thread.
 */
class runtime_thread_scope {
public:
    runtime_thread_scope();
    ~runtime_thread_scope();
    runtime_thread_scope(const runtime_thread_scope&) = delete;
    runtime_thread_scope& operator=(const runtime_thread_scope&) = delete;

    static bool active();
};

} // namespace sycl::detail
