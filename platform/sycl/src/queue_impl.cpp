#include "queue_impl.hpp"

#include "command.hpp"
#include "command_group.hpp"
#include "host_threads.hpp"

#include <cstdio>
#include <utility>

namespace sycl::detail {

namespace {

/// What happens to errors that nobody asked for.
void report_and_terminate(const exception_list& errors) {
    for (const auto& error : errors) {
        try {
            std::rethrow_exception(error);
        } catch (const std::exception& known) {
            std::fprintf(stderr, "asynchronous error without a handler: %s\n", known.what());
        } catch (...) {
            std::fprintf(stderr, "asynchronous error without a handler, of unknown type\n");
        }
    }
    std::terminate();
}

/// For which there was no memory to hand them to another thread. Never destroyed.
class retired_queues {
public:
    static retired_queues& instance() {
        static auto* const all = new retired_queues;
        return *all;
    }
    void add(std::list<retired_queue>& one) noexcept {
        const std::lock_guard guard(lock_);
        list_.splice(list_.end(), one);
    }
    /// On a thread of a user.
    void destroy_all() noexcept {
        std::list<retired_queue> old; // outside the lock
        const std::lock_guard guard(lock_);
        old.swap(list_);
    }

private:
    std::mutex lock_;
    std::list<retired_queue> list_;
};

} // namespace

queue_core::queue_core(std::shared_ptr<context_impl> context, std::unique_ptr<native_queue> native)
    : context_(std::move(context)), native_(std::move(native)), end_(1) {
    if (!runtime_thread_scope::active()) {
        retired_queues::instance().destroy_all();
    }
}

queue_core::~queue_core() {
    if (!runtime_thread_scope::active()) {
        return;
    }
    // The driver waits for its threads when a queue goes, and this may be one of them.
    end_.front() = {context_, std::move(native_)};
    retired_queues::instance().add(end_);
    try {
        post_to_host_threads([] { retired_queues::instance().destroy_all(); });
    } catch (const std::exception&) {
        // The next queue that is made sees to it.
    }
}

void queue_core::forget(const std::shared_ptr<command>& finished) {
    const std::lock_guard guard(lock_);
    remove(*finished);
    if (last_ == finished) {
        last_ = nullptr;
    }
}

/// The last one in flight takes its place.
void queue_core::remove(const command& finished) {
    const std::size_t place = finished.place_in_flight;
    std::swap(in_flight_[place], in_flight_.back());
    in_flight_[place]->place_in_flight = place;
    in_flight_.pop_back();
}

queue_impl::queue_impl(std::shared_ptr<context_impl> context, std::shared_ptr<device_impl> device,
                       async_handler handler, bool in_order, std::unique_ptr<native_queue> native)
    : context_(std::move(context)), device_(std::move(device)), handler_(std::move(handler)),
      in_order_(in_order), core_(std::make_shared<queue_core>(context_, std::move(native))) {}

queue_impl::~queue_impl() {
    if (!errors_.empty()) {
        deliver(std::move(errors_)); // without an allocation, which might fail
    }
}

std::shared_ptr<command> queue_impl::submit(const std::function<void(handler&)>& group) {
    command_group description(shared_from_this());
    description.describe(group);
    auto made = description.command();
    std::unique_lock chain(order_, std::defer_lock);
    if (in_order_) {
        chain.lock();
    }
    const auto previous = enqueue(made);
    try {
        made->submit(description.dependencies(), previous, description.requirements(), description.space());
    } catch (...) {
        const std::lock_guard guard(core_->lock_);
        core_->last_ = previous; // the next one of an in-order queue follows that
        throw;
    }
    return made;
}

std::shared_ptr<command> queue_impl::enqueue(const std::shared_ptr<command>& next) {
    const std::lock_guard guard(core_->lock_);
    auto& in_flight = core_->in_flight_;
    next->place_in_flight = in_flight.size();
    in_flight.push_back(next);
    try {
        errors_.reserve(errors_.size() + in_flight.size());
    } catch (...) {
        core_->remove(*next);
        throw;
    }
    return in_order_ ? std::exchange(core_->last_, next) : nullptr;
}

void queue_impl::wait() {
    std::vector<std::shared_ptr<command>> pending;
    {
        const std::lock_guard guard(core_->lock_);
        pending = core_->in_flight_;
    }
    for (const auto& each : pending) {
        each->wait();
    }
}

void queue_impl::report(std::exception_ptr error) {
    const std::lock_guard guard(core_->lock_);
    // There is room for an error of every command in flight.
    errors_.push_back(std::move(error));
}

void queue_impl::throw_asynchronous() {
    std::vector<std::exception_ptr> errors;
    {
        const std::lock_guard guard(core_->lock_);
        if (errors_.empty()) {
            return;
        }
        errors.assign(errors_.begin(), errors_.end());
        errors_.clear(); // which keeps the room for commands in flight
    }
    deliver(std::move(errors));
}

void queue_impl::deliver(std::vector<std::exception_ptr> errors) const {
    exception_list list(std::move(errors));
    if (handler_) {
        handler_(std::move(list));
    } else if (context_->handler()) {
        context_->handler()(std::move(list));
    } else {
        report_and_terminate(list);
    }
}

} // namespace sycl::detail
