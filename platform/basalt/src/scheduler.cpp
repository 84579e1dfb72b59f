#include "scheduler.hpp"

#include "command.hpp"
#include "spin.hpp"

#include <pthread.h>

#include <algorithm>

namespace basalt {

namespace {

// Kernels of a multi-pass reduction follow each other within microseconds, and a wake-up takes longer than
// that.
constexpr std::chrono::microseconds idle_spin{20};

std::uint32_t processors() {
    return std::max(2u, std::thread::hardware_concurrency());
}

} // namespace

scheduler::scheduler(std::uint32_t n_threads, std::chrono::microseconds launch_delay)
    : n_threads_(n_threads), max_spinning_(processors() - 1), launch_delay_(launch_delay) {}

void scheduler::start_threads() {
    const std::lock_guard lock(mutex_);
    while (threads_.size() < n_threads_) {
        try {
            threads_.emplace_back([this] { run(); });
        } catch (const std::system_error&) {
            if (threads_.empty()) {
                throw;
            }
            return; // fewer threads do the same work
        }
        pthread_setname_np(threads_.back().native_handle(), "basalt-worker");
    }
}

void scheduler::push(const std::shared_ptr<command>& ready) noexcept {
    const std::lock_guard lock(mutex_);
    ready->place_.front() = ready;
    ready_.splice(ready_.end(), ready->place_);
    wake_one();
}

void scheduler::hold() {
    const std::lock_guard lock(mutex_);
    ++holds_;
}

bool scheduler::release() {
    const std::lock_guard lock(mutex_);
    if (holds_ == 0) {
        return false;
    }
    --holds_;
    wake_one();
    return true;
}

// Each thread that takes a command wakes the next one if there is more to do.
void scheduler::wake_one() {
    if (!has_work()) {
        return;
    }
    changes_.fetch_add(1, std::memory_order_release);
    if (sleeping_ != 0 && spinning_ == 0) {
        changed_.notify_one();
    }
}

void scheduler::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        const std::shared_ptr<command> c = wait_for_command(lock);
        wake_one();
        lock.unlock();
        c->take_part();
        lock.lock();
        leave(lock, c);
    }
}

bool scheduler::has_work() const {
    return (holds_ == 0 && !ready_.empty()) ||
           std::any_of(running_.begin(), running_.end(), [](const auto& c) { return c->joinable(); });
}

std::shared_ptr<command> scheduler::wait_for_command(std::unique_lock<std::mutex>& lock) {
    for (;;) {
        if (std::shared_ptr<command> c = next_command()) {
            if (c->participants_++ == 0) {
                start(lock, *c);
            }
            return c;
        }
        if (spinning_ < max_spinning_) {
            spin(lock);
        }
        if (!has_work()) {
            ++sleeping_;
            changed_.wait(lock, [this] { return has_work(); });
            --sleeping_;
        }
    }
}

void scheduler::spin(std::unique_lock<std::mutex>& lock) {
    ++spinning_;
    const std::uint64_t seen = changes_.load(std::memory_order_relaxed);
    lock.unlock();
    spin_until(idle_spin, [&] { return changes_.load(std::memory_order_acquire) != seen; });
    lock.lock();
    --spinning_;
}

std::shared_ptr<command> scheduler::next_command() {
    const auto joinable =
        std::find_if(running_.begin(), running_.end(), [](const auto& c) { return c->joinable(); });
    if (joinable != running_.end()) {
        return *joinable;
    }
    if (holds_ != 0 || ready_.empty()) {
        return nullptr;
    }
    running_.splice(running_.end(), ready_, ready_.begin());
    return running_.back();
}

void scheduler::start(std::unique_lock<std::mutex>& lock, command& c) {
    if (launch_delay_.count() != 0 && c.is_kernel()) {
        wake_one(); // others may start the next command meanwhile
        lock.unlock();
        std::this_thread::sleep_for(launch_delay_);
        lock.lock();
    }
    c.started_ = true;
}

void scheduler::leave(std::unique_lock<std::mutex>& lock, const std::shared_ptr<command>& c) {
    std::erase(running_, c);
    if (--c->participants_ != 0) {
        return;
    }
    lock.unlock();
    c->complete();
    lock.lock();
}

} // namespace basalt
