// The worker threads of one device and the commands that are ready for them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace basalt {

class command;

/// Lives to the end of the process, and so do its threads: at exit they may be in the middle of a kernel that
/// never ends, and static objects of others may still wait for theirs.
class scheduler {
public:
    scheduler(std::uint32_t n_threads, std::chrono::microseconds launch_delay);
    scheduler(const scheduler&) = delete;
    scheduler& operator=(const scheduler&) = delete;

    std::uint32_t n_threads() const { return n_threads_; }

    /// Starts the threads unless they run. Throws std::system_error if there cannot be a single one.
    void start_threads();

    /// Takes a command whose dependencies have completed.
    void push(const std::shared_ptr<command>& ready) noexcept;

    void hold();
    /// False if there was no hold.
    bool release();

private:
    void run();
    bool has_work() const;
    std::shared_ptr<command> next_command();
    std::shared_ptr<command> wait_for_command(std::unique_lock<std::mutex>& lock);
    void spin(std::unique_lock<std::mutex>& lock);
    void start(std::unique_lock<std::mutex>& lock, command& c);
    void leave(std::unique_lock<std::mutex>& lock, const std::shared_ptr<command>& c);
    void wake_one();

    const std::uint32_t n_threads_;
    const std::uint32_t max_spinning_; ///< leaves a processor to the thread that submits
    const std::chrono::microseconds launch_delay_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::thread> threads_;
    std::list<std::shared_ptr<command>> ready_;   ///< not started, in order of becoming ready
    std::list<std::shared_ptr<command>> running_; ///< being worked on, in order of starting
    std::size_t holds_ = 0;
    std::size_t sleeping_ = 0;
    std::size_t spinning_ = 0;
    std::atomic<std::uint64_t> changes_{0}; ///< counts what may give an idle thread something to do
};

} // namespace basalt
