#include "command.hpp"

#include "host_threads.hpp"
#include "queue_impl.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <unordered_set>
#include <utility>

namespace sycl::detail {

std::mutex& graph_lock() {
    static std::mutex lock;
    return lock;
}

namespace {

/// The failure of a command whose dependency failed, in words that tell the first cause.
std::exception_ptr not_run(const std::exception_ptr& cause) try {
    std::string why = "unknown exception";
    try {
        std::rethrow_exception(cause);
    } catch (const std::exception& error) {
        why = error.what();
    } catch (...) {
    }
    return std::make_exception_ptr(
        exception(errc::runtime, "not run, since a command that it depends on failed: " + why));
} catch (const std::bad_alloc&) {
    return cause;
}

/// Movements of buffers that a submission has entered into the graph: others rely on them, even if it fails then.
struct movers_to_start {
    ~movers_to_start() {
        for (const auto& each : list) {
            each->release();
        }
    }
    mutable std::vector<std::shared_ptr<command>> list;
};

} // namespace

command::command(std::shared_ptr<queue_impl> queue)
    : queue_(std::move(queue)), origin_(queue_), internal_(queue_ == nullptr),
      backend_(queue_ == nullptr ? sycl::backend::host : queue_->device()->get_backend()) {}

void command::set_host_task(std::unique_ptr<host_task_box> task) {
    host_task_ = task.get();
    kept_host_task_ = std::move(task);
    set_action([](const std::shared_ptr<command>& self) {
        try {
            offer_to_host_threads(self);
        } catch (...) {
            if (self->begin_host_task()) {
                throw; // else a thread that waits runs it already
            }
        }
    });
}

void command::submit(const std::vector<std::shared_ptr<command>>& needed,
                     const std::shared_ptr<command>& earlier, const std::vector<requirement>& requirements,
                     const memory_space& space) {
    const auto self = shared_from_this();
    try {
        if (enter_graph(needed, earlier, requirements, space)) {
            start();
        }
    } catch (...) {
        withdraw();
        throw;
    }
    if (handed_over_) {
        release(); // the graph goes on with this command only when the back end has it
    }
}

/// Whether the command starts now: nothing is unmet, or the back end itself waits for what is. Of the unmet
/// dependencies the initial one stays then, so that nothing else starts the command.
bool command::enter_graph(const std::vector<std::shared_ptr<command>>& needed,
                          const std::shared_ptr<command>& earlier,
                          const std::vector<requirement>& requirements, const memory_space& space) {
    const movers_to_start movers;
    const std::lock_guard guard(graph_lock());
    for (const auto& other : needed) {
        depend_on(other, true);
    }
    depend_on(earlier, false);
    for (const auto& use : requirements) {
        use.buffer->order(use, space, shared_from_this(), movers.list);
    }
    prepare_native_events();
    if (handed_over_ || unmet_ == 1) {
        return true;
    }
    --unmet_;
    return false;
}

/// Turns a refused command into one without work.
void command::withdraw() {
    {
        const std::lock_guard guard(graph_lock());
        withdrawn_ = true;
        handed_over_ = false;
    }
    release();
}

/// Allocates nothing, so that a refusal for lack of memory is told with every buffer as it was.
void command::end_withdrawn() {
    for (const auto& each : restorations_) {
        std::memcpy(each.target, each.source, each.buffer->bytes());
    }
    finish(nullptr);
}

/// Drops the one unmet dependency that every command begins with.
void command::release() {
    bool ready = false;
    {
        const std::lock_guard guard(graph_lock());
        ready = --unmet_ == 0;
    }
    if (ready) {
        proceed();
    }
}

/// A command of a back end with events is given to it at once, unless it has to fail; others get an event.
void command::prepare_native_events() {
    if (queue_ == nullptr || queue_->native().event_domain() == nullptr) {
        return;
    }
    native_queue& native = queue_->native();
    handed_over_ = native_action_ && failed_dependency_ == nullptr;
    if (!handed_over_) {
        native_event_ = native.make_event();
        ends_native_event_ = true;
        return;
    }
    std::unordered_set<std::shared_ptr<command>> waited_for;
    for (const auto& weak : dependencies_) {
        waited_for.insert(weak.lock());
    }
    for (const auto& other : waited_for) {
        for (auto& use : other->dependents_) {
            if (use.waiting.get() == this) {
                wait_list_.push_back(other->event_for(native, use));
            }
        }
    }
}

std::shared_ptr<backend_event> command::event_for(native_queue& waiting, dependent& use) {
    const bool same_domain = native_event_ != nullptr && native_event_->domain() == waiting.event_domain();
    if (same_domain && (handed_over_ || use.needs_success)) {
        use.needs_success = true; // a back end runs nothing behind a command that failed in it
        return native_event_;
    }
    return signals_.emplace_back(signal{waiting.make_event(), use.needs_success}).event;
}

/// All dependencies are over.
void command::proceed() {
    if (withdrawn_) {
        end_withdrawn();
    } else if (!handed_over_) {
        try {
            start();
        } catch (...) {
            finish(std::current_exception()); // its submission is long over
        }
    } else if (const auto error = failure_in_back_end()) {
        finish(error);
    } else {
        auto expected = state::waiting;
        state_.compare_exchange_strong(expected, state::running);
        state_.notify_all();
    }
}

void command::skipped_by_back_end(const std::exception_ptr& error) {
    bool over = false;
    {
        const std::lock_guard guard(graph_lock());
        skipped_ = error;
        over = unmet_ == 0;
    }
    if (over) { // else the last dependency ends the command
        finish(failure_in_back_end());
    }
}

/// Why the back end will not run the command, as far as that is known when its dependencies are over; null if it will.
std::exception_ptr command::failure_in_back_end() const {
    std::exception_ptr cause, skipped;
    {
        const std::lock_guard guard(graph_lock());
        cause = failed_dependency_;
        skipped = skipped_;
    }
    return cause != nullptr ? not_run(cause) : skipped;
}

std::shared_ptr<backend_event> command::get_native_event() const {
    const std::lock_guard guard(graph_lock());
    return native_event_;
}

void command::set_native_event(std::shared_ptr<backend_event> event) {
    const std::lock_guard guard(graph_lock());
    native_event_ = std::move(event);
}

void command::order_after(const std::shared_ptr<command>& other) {
    depend_on(other, false);
}

void command::depend_on(const std::shared_ptr<command>& other, bool needs_success) {
    if (other == nullptr || other.get() == this) {
        return;
    }
    if (!other->complete()) {
        dependencies_.push_back(other);
        other->dependents_.push_back({shared_from_this(), needs_success}); // the last that may fail
        ++unmet_;
    } else if (needs_success && other->error_ != nullptr) {
        failed_dependency_ = other->error_;
    }
}

/// Fails the command if it may not run, else begins it. Throws if that is refused.
void command::start() {
    if (!handed_over_ && failed_dependency_ != nullptr) {
        finish(not_run(failed_dependency_));
        return;
    }
    // The command may end, and let its queue go, while the action still returns.
    const auto core = queue_ == nullptr ? nullptr : queue_->core();
    const action what = std::move(action_);
    if (!handed_over_) {
        enter(state::running);
    }
    what(shared_from_this());
}

void command::finish(const std::exception_ptr& error) {
    if (finished_.exchange(true)) {
        return; // a back end and the graph may both learn of a failure
    }
    const auto self = shared_from_this();
    if (error != nullptr && queue_ != nullptr) {
        queue_->report(error);
    }
    action_ = nullptr;
    kept_host_task_ = nullptr;
    resources_.clear();
    restorations_.clear();
    const auto core = queue_ == nullptr ? nullptr : queue_->core();
    queue_ = nullptr; // before anybody who waits goes on, and perhaps unloads the code of its handler
    const auto [ready, signals] = complete_and_release(error);
    // Outside the lock of the graph: a driver may call back from here.
    for (const auto& [event, tells_failure] : signals) {
        event->end(error == nullptr || !tells_failure);
    }
    if (ends_native_event_) {
        native_event_->end(error == nullptr);
    }
    for (const auto& next : ready) {
        next.waiting->proceed();
    }
    if (core != nullptr) {
        core->forget(self);
    }
}

/// Allocates nothing: a command ends whatever happens. Returns the dependents that nothing else keeps from starting.
std::pair<std::vector<command::dependent>, std::vector<command::signal>>
command::complete_and_release(const std::exception_ptr& error) {
    const std::lock_guard guard(graph_lock());
    error_ = error;
    enter(state::complete);
    dependencies_.clear();
    auto ready = std::exchange(dependents_, {});
    std::erase_if(ready, [&](const dependent& each) {
        if (each.needs_success && error != nullptr) {
            each.waiting->failed_dependency_ = error;
        }
        return --each.waiting->unmet_ != 0;
    });
    return {std::move(ready), std::exchange(signals_, {})};
}

void command::enter(state next) {
    state_.store(next, std::memory_order_release);
    state_.notify_all();
}

info::event_command_status command::status() const {
    switch (state_.load(std::memory_order_acquire)) {
    case state::waiting:
        return info::event_command_status::submitted;
    case state::running:
        return info::event_command_status::running;
    default:
        return info::event_command_status::complete;
    }
}

void command::wait() {
    wait_for_start();
    help();
    for (auto now = state_.load(std::memory_order_acquire); now != state::complete;
         now = state_.load(std::memory_order_acquire)) {
        state_.wait(now, std::memory_order_acquire);
    }
}

void command::wait_for_start() {
    if (state_.load(std::memory_order_acquire) == state::waiting) {
        run_next_host_tasks();
    }
    if (state_.load(std::memory_order_acquire) == state::waiting) {
        hand_out_offers();
    }
    state_.wait(state::waiting, std::memory_order_acquire);
}

/// Runs what this command waits for, if it is ready: no more than that, since the user decides how deep a chain goes.
void command::run_next_host_tasks() {
    std::vector<std::shared_ptr<command>> next;
    try {
        next = unfinished_dependencies();
    } catch (const std::bad_alloc&) {
        return; // the threads of the pool get there too
    }
    for (const auto& other : next) {
        other->help();
    }
}

/// Whether the calling thread is the one to run the host task, if there is any.
bool command::begin_host_task() {
    // One that was not started may have failed without running.
    return host_task_ != nullptr && state_.load(std::memory_order_acquire) == state::running &&
           !host_task_begun_.exchange(true);
}

bool command::run_once() {
    if (!begin_host_task()) {
        return false;
    }
    const runtime_thread_scope scope;
    std::exception_ptr error;
    try {
        host_task_->run();
    } catch (...) {
        error = std::current_exception();
    }
    finish(error);
    return true;
}

/// Runs the host task, if there is one to run, on the thread of a user who waits.
void command::help() {
    if (host_task_ != nullptr && !begun()) {
        withdraw_offer(*this);
        run_once();
    }
}

std::vector<std::shared_ptr<command>> command::unfinished_dependencies() {
    std::vector<std::shared_ptr<command>> result;
    const std::lock_guard guard(graph_lock());
    for (const auto& weak : dependencies_) {
        auto other = weak.lock();
        const bool listed = std::find(result.begin(), result.end(), other) != result.end();
        if (other != nullptr && !other->complete() && !listed) {
            result.push_back(std::move(other));
        }
    }
    return result;
}

std::vector<std::shared_ptr<command>> command::waiting_for() {
    auto result = unfinished_dependencies();
    std::erase_if(result, [](const auto& other) { return other->internal_; });
    return result;
}

} // namespace sycl::detail
