#pragma once

#include "driver.hpp"

#include <sycl/event.hpp>
#include <sycl/handler.hpp>

#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace sycl::detail {

class command;

/// What is left of a queue that ended on a thread of the runtime.
struct retired_queue {
    std::shared_ptr<context_impl> context;
    std::unique_ptr<native_queue> native; ///< goes first
};

/**
 * What commands keep of their queue to their very end: the driver's queue, and the list of those in flight. It has nothing
 * that the user gave, above all no handler, whose code may be unloaded once a command counts as complete.
 */
class queue_core {
public:
    queue_core(std::shared_ptr<context_impl> context, std::unique_ptr<native_queue> native);
    ~queue_core();
    queue_core(const queue_core&) = delete;
    queue_core& operator=(const queue_core&) = delete;

    native_queue& native() { return *native_; }
    void forget(const std::shared_ptr<command>& finished);

private:
    friend class queue_impl;

    void remove(const command& finished);

    std::shared_ptr<context_impl> context_;
    std::unique_ptr<native_queue> native_;
    std::list<retired_queue> end_; ///< one, made early, so that a queue can end without memory

    std::mutex lock_; ///< guards the errors of the queue as well
    std::vector<std::shared_ptr<command>> in_flight_;
    std::shared_ptr<command> last_; ///< of an in-order queue
};

class queue_impl : public std::enable_shared_from_this<queue_impl> {
public:
    queue_impl(std::shared_ptr<context_impl> context, std::shared_ptr<device_impl> device,
               async_handler handler, bool in_order, std::unique_ptr<native_queue> native);
    ~queue_impl();
    queue_impl(const queue_impl&) = delete;
    queue_impl& operator=(const queue_impl&) = delete;

    const std::shared_ptr<context_impl>& context() const { return context_; }
    const std::shared_ptr<device_impl>& device() const { return device_; }
    bool in_order() const { return in_order_; }
    native_queue& native() { return core_->native(); }
    const std::shared_ptr<queue_core>& core() const { return core_; }

    std::shared_ptr<command> submit(const std::function<void(handler&)>& group);
    void wait();
    void throw_asynchronous();

    void report(std::exception_ptr error);

private:
    /// To the queue's handler, its context's, or the end of the program.
    void deliver(std::vector<std::exception_ptr> errors) const;
    /// Counts the command as in flight and returns the one that an in-order queue runs before it.
    std::shared_ptr<command> enqueue(const std::shared_ptr<command>& next);

    std::shared_ptr<context_impl> context_;
    std::shared_ptr<device_impl> device_;
    async_handler handler_;
    bool in_order_;
    std::shared_ptr<queue_core> core_;

    std::mutex order_; ///< held over a submission to an in-order queue, so that its commands form one chain
    std::vector<std::exception_ptr> errors_;
};

} // namespace sycl::detail
