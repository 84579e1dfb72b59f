#pragma once

#include <memory>

namespace sycl::detail {

/// A task for the runtime's pool that a thread of the user's, which waits for it anyway, may run first.
class shared_task {
public:
    /// Whether a thread has begun it.
    virtual bool begun() const = 0;
    /// Runs the task unless a thread has begun it; returns whether it ran.
    virtual bool run_once() = 0;

protected:
    ~shared_task() = default;
};

/**
 * Sees to it that \p task runs. Waking a thread of the pool costs more than a small task does; while the program waits
 * for each of its tasks, and so runs them itself, a task is only put on a list, at which a thread of the pool looks twice a
 * millisecond. Throws std::bad_alloc, with nothing changed.
 */
void offer_to_host_threads(std::shared_ptr<shared_task> task);

/// Tells that the caller has begun \p task.
void withdraw_offer(const shared_task& task);

/// Gives all tasks of the list to the pool: the caller is about to block.
void hand_out_offers();

} // namespace sycl::detail
