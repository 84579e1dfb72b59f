#include "notifier.hpp"

#include <pthread.h>

#include <thread>
#include <utility>

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

void notifier::post(event_ref completed) noexcept {
    const std::lock_guard lock(mutex_);
    event* const added = completed.get();
    (last_ == nullptr ? first_ : last_->next_posted) = std::move(completed);
    last_ = added;
    posted_.notify_one();
}

void notifier::run() {
    for (;;) {
        event_ref next;
        {
            std::unique_lock lock(mutex_);
            posted_.wait(lock, [this] { return first_ != nullptr; });
            next = std::exchange(first_, nullptr);
            first_ = std::exchange(next->next_posted, nullptr);
            last_ = first_ == nullptr ? nullptr : last_;
        }
        next->deliver();
    }
}

} // namespace basalt
