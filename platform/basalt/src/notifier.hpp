// The thread that tells of events which callers complete: their own threads may hold locks.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace basalt {

class notifier {
public:
    /// Starts the thread on first use; throws if that fails.
    static notifier& instance();
    void post(std::function<void()> job);

private:
    notifier();
    void run();

    std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<std::function<void()>> jobs_;
};

} // namespace basalt
