// The thread that tells of events which callers complete: their own threads may hold locks.
#pragma once

#include "event.hpp"

#include <condition_variable>
#include <mutex>

namespace basalt {

class notifier {
public:
    /// Starts the thread on first use; throws if that fails.
    static notifier& instance();
    /// Has the listeners of an event called that has completed.
    void post(event_ref completed) noexcept;

private:
    notifier();
    void run();

    std::mutex mutex_;
    std::condition_variable posted_;
    event_ref first_; ///< of those posted, which are linked through event::next_posted
    event* last_ = nullptr;
};

} // namespace basalt
