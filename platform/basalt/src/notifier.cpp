#include "notifier.hpp"

#include <pthread.h>

#include <thread>

namespace basalt {

notifier& notifier::instance() {
    static auto* const only = new notifier; // its thread outlives static objects
    return *only;
}

notifier::notifier() {
    std::thread thread([this] { run(); });
    pthread_setname_np(thread.native_handle(), "basalt-notify");
    thread.detach();
}

void notifier::post(std::function<void()> job) {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    posted_.notify_one();
}

void notifier::run() {
    for (;;) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            posted_.wait(lock, [this] { return !jobs_.empty(); });
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        job();
    }
}

} // namespace basalt
