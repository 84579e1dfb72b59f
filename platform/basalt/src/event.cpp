#include "event.hpp"

#include "notifier.hpp"
#include "spin.hpp"

namespace {

// Shorter than a sleep and a wake-up take.
constexpr std::chrono::microseconds wait_spin{20};

/// What \p words returns; a few that need no memory if there is none.
template <typename Words>
std::string words_if_possible(const Words& words) noexcept {
    try {
        return words();
    } catch (const std::bad_alloc&) {
        return "out of memory";
    }
}

} // namespace

void intrusive_ptr_release(_bs_event_handle_t* e) {
    if (e->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    if (e->completed() || e->listeners_.empty()) {
        delete e;
    } else {
        // Nobody is left to complete it, but somebody waits.
        e->complete_from_host(BS_ERROR_INVALID_ARGUMENT, words_if_possible([] {
                                  return std::string("an event was destroyed before it had completed");
                              }));
    }
}

void _bs_event_handle_t::wait() const {
    if (basalt::spin_until(wait_spin, [this] { return completed(); })) {
        return;
    }
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return completed(); });
}

void _bs_event_handle_t::listen(listeners added) noexcept {
    {
        const std::lock_guard lock(mutex_);
        if (!completed() || delivering_) {
            listeners_.splice(listeners_.end(), added);
            return;
        }
    }
    for (const listener& each : added) {
        each(status_, message_);
    }
}

void _bs_event_handle_t::bind_to_command() {
    const std::lock_guard lock(mutex_);
    if (owner_ != owner::nobody) {
        basalt::throw_invalid(owner_ == owner::command ? "the signal event belongs to another command already"
                                                       : "the signal event has completed already");
    }
    owner_ = owner::command;
}

void _bs_event_handle_t::complete(bs_result_t status, std::string message) {
    const basalt::event_ref alive(this);
    settle(status, std::move(message));
    deliver();
}

void _bs_event_handle_t::signal(bs_result_t status) {
    {
        const std::lock_guard lock(mutex_);
        if (owner_ != owner::nobody) {
            basalt::throw_invalid(owner_ == owner::command
                                      ? "the event belongs to a command, which completes it"
                                      : "the event has completed already");
        }
        owner_ = owner::host;
    }
    complete_from_host(status, status == BS_SUCCESS ? std::string() : words_if_possible([&] {
                           return "the host completed an event with status " + std::to_string(status);
                       }));
}

void _bs_event_handle_t::complete_from_host(bs_result_t status, std::string message) noexcept {
    const basalt::event_ref alive(this);
    settle(status, std::move(message));
    basalt::notifier::instance().post(alive); // it runs since the event was made
}

void _bs_event_handle_t::settle(bs_result_t status, std::string message) {
    const std::lock_guard lock(mutex_);
    status_ = status;
    message_ = std::move(message);
    delivering_ = true;
    completed_.store(true, std::memory_order_release);
    changed_.notify_all();
}

void _bs_event_handle_t::deliver() {
    for (;;) {
        listeners next;
        {
            const std::lock_guard lock(mutex_);
            if (listeners_.empty()) {
                delivering_ = false;
                return;
            }
            next.splice(next.begin(), listeners_, listeners_.begin());
        }
        next.front()(status_, message_);
    }
}

namespace basalt {

event::listeners listeners_of(bs_event_callback_t callback, void* user) {
    event::listeners result;
    if (callback != nullptr) {
        result.emplace_back([callback, user](bs_result_t status, const std::string& message) {
            callback(user, status, message.c_str());
        });
    }
    return result;
}

} // namespace basalt
