// Events: a status that is set once, and those who wait for it.
#pragma once

#include "error.hpp"

#include <basalt/basalt.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>

namespace basalt {
using event = _bs_event_handle_t;
using event_ref = boost::intrusive_ptr<event>;
} // namespace basalt

struct _bs_event_handle_t {
public:
    /// Called once with the status and the words of a failure; never under a lock.
    using listener = std::function<void(bs_result_t status, const std::string& message)>;
    using listeners = std::list<listener>;

    _bs_event_handle_t() = default;
    _bs_event_handle_t(const _bs_event_handle_t&) = delete;
    _bs_event_handle_t& operator=(const _bs_event_handle_t&) = delete;

    bool completed() const { return completed_.load(std::memory_order_acquire); }
    /// Blocks until the event has completed.
    void wait() const;
    /// Status and words; the event must have completed.
    bs_result_t status() const { return status_; }
    const std::string& message() const { return message_; }

    /// Calls \p added when the event completes, in order of registration; at once if that is over. Listeners come in a
    /// list, so that memory for them has been found before it is too late to fail.
    void listen(listeners added) noexcept;

    /// The event will be completed by a command and by nobody else. Throws if it is bound or completed
    /// already.
    void bind_to_command();

    /// Completes the event on this thread, which must be the driver's.
    void complete(bs_result_t status, std::string message);
    /// Completes it from a caller's thread: listeners run on a thread of the driver. Throws if that is not
    /// allowed.
    void signal(bs_result_t status);

    /// Calls the listeners of an event that has completed, on this thread, which must be the driver's.
    void deliver();

    /// Link of the notifier's list.
    boost::intrusive_ptr<_bs_event_handle_t> next_posted;

    friend void intrusive_ptr_add_ref(_bs_event_handle_t* e) {
        e->references_.fetch_add(1, std::memory_order_relaxed);
    }
    friend void intrusive_ptr_release(_bs_event_handle_t* e);

private:
    enum class owner { nobody, host, command };

    void complete_from_host(bs_result_t status, std::string message) noexcept;
    void settle(bs_result_t status, std::string message);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::atomic<bool> completed_{false};
    std::atomic<int> references_{0};
    owner owner_ = owner::nobody;
    bool delivering_ = false;
    bs_result_t status_ = BS_NOT_READY;
    std::string message_;
    listeners listeners_;
};

namespace basalt {

/// A caller's callback as the listener that it is; none if it is null.
event::listeners listeners_of(bs_event_callback_t callback, void* user);

} // namespace basalt
