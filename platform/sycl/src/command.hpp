#pragma once

#include "buffer_impl.hpp"
#include "driver.hpp"
#include "shared_tasks.hpp"

#include <sycl/handler.hpp>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace sycl::detail {

class queue_impl;

/// One lock guards the graph: dependents, counts of unmet dependencies, and the state of buffers.
std::mutex& graph_lock();

/**
 * A node of the command graph and the state behind an event. It waits for its dependencies, starts, and ends
 * with one finish(). What it needs (kernel object, host task, accessors) goes before the command counts as
 * complete.
 */
class command final : public std::enable_shared_from_this<command>, public shared_task {
public:
    using action = std::function<void(const std::shared_ptr<command>&)>;

    /// \p queue may be null for work of the runtime's own.
    explicit command(std::shared_ptr<queue_impl> queue);

    /// The queue that the errors of this command go to; null if it is gone.
    std::shared_ptr<queue_impl> queue() const { return origin_.lock(); }
    sycl::backend get_backend() const { return backend_; }

    /// \p native: the action hands the command to the queue's back end.
    void set_action(action what, bool native = false) {
        action_ = std::move(what);
        native_action_ = native;
    }
    /// \p task, which the command keeps, runs on a thread of the runtime, or on one that waits for the command.
    void set_host_task(std::unique_ptr<host_task_box> task);
    bool has_action() const { return action_ != nullptr; }
    /// Keeps \p resource alive until the command has run.
    void keep(std::shared_ptr<void> resource) { resources_.push_back(std::move(resource)); }

    /**
     * Enters the command into the graph and starts it as soon as its dependencies allow. \p needed are the
     * commands whose failure fails this one; \p earlier, which may be null, only has to be over. Throws what the back end refuses the
     * command with, if that is known at once. A refused command never runs and changes no buffer; it ends when the
     * commands before it are over, because others may have been ordered behind it in the meantime.
     */
    void submit(const std::vector<std::shared_ptr<command>>& needed, const std::shared_ptr<command>& earlier,
                const std::vector<requirement>& requirements, const memory_space& space);

    /// Starts a command that was entered by order_after() alone, as soon as its dependencies allow.
    void release();

    /// Ends the command; a non-null \p error is reported to its queue.
    void finish(const std::exception_ptr& error);

    /// The back end has not run the command, because one that it waited for failed. If the graph knows which, it tells the
    /// cause, else \p error is reported: the other command may be another program's.
    void skipped_by_back_end(const std::exception_ptr& error);

    /// What the back end waits for before it runs a command that it is given early.
    const std::vector<std::shared_ptr<backend_event>>& wait_list() const { return wait_list_; }
    /// The back end's own event; null if it has none.
    std::shared_ptr<backend_event> get_native_event() const;
    void set_native_event(std::shared_ptr<backend_event> event);

    info::event_command_status status() const;
    bool complete() const { return state_.load(std::memory_order_acquire) == state::complete; }
    /// Blocks until the command has completed. The caller's thread runs the command, or those right before it,
    /// if they are host tasks that may run and that no thread has begun.
    void wait();
    /// Blocks until the command has started; the caller's thread helps as in wait().
    void wait_for_start();

    /// The commands of users that this one waits for directly, without those that have completed.
    std::vector<std::shared_ptr<command>> waiting_for();

    /// Where its queue has it among the commands in flight. Guarded by the queue's lock.
    std::size_t place_in_flight = 0;

    /// With the graph lock held: this command starts only after \p other is over.
    void order_after(const std::shared_ptr<command>& other);

    /// With the graph lock held: this command is about to invalidate \p source by overwriting \p target. If it is
    /// refused, it copies the bytes of \p buffer instead, so that nothing is lost.
    void restore_if_refused(std::shared_ptr<buffer_impl> buffer, void* target, const void* source) {
        restorations_.push_back({std::move(buffer), target, source});
    }

private:
    enum class state { waiting, running, complete };

    struct dependent {
        std::shared_ptr<command> waiting;
        bool needs_success;
    };
    /// An event that stands for this command where its own one, if there is any, cannot be waited for.
    struct signal {
        std::shared_ptr<backend_event> event;
        bool tells_failure;
    };

    /// The contents of a buffer that this command has declared invalid.
    struct restoration {
        std::shared_ptr<buffer_impl> buffer;
        void* target;
        const void* source;
    };

    void depend_on(const std::shared_ptr<command>& other, bool needs_success);
    bool enter_graph(const std::vector<std::shared_ptr<command>>& needed,
                     const std::shared_ptr<command>& earlier, const std::vector<requirement>& requirements,
                     const memory_space& space);
    std::exception_ptr failure_in_back_end() const;
    void withdraw();
    void end_withdrawn();
    void prepare_native_events();
    std::shared_ptr<backend_event> event_for(native_queue& waiting, dependent& use);
    void start();
    void proceed();
    bool begin_host_task();
    bool begun() const override { return host_task_begun_.load(std::memory_order_relaxed); }
    bool run_once() override;
    void help();
    void run_next_host_tasks();
    std::vector<std::shared_ptr<command>> unfinished_dependencies();
    void enter(state next);
    std::pair<std::vector<dependent>, std::vector<signal>>
    complete_and_release(const std::exception_ptr& error);

    // A running command keeps its queue. One that counts as complete does not: it may go while the graph lock is held, or
    // after the code of the user's handler, and the end of a queue calls and destroys that.
    std::shared_ptr<queue_impl> queue_;
    const std::weak_ptr<queue_impl> origin_;
    const bool internal_; ///< work of the runtime's own, which no user sees
    const sycl::backend backend_;
    action action_;
    bool native_action_ = false;
    host_task_box* host_task_ = nullptr; ///< stays when the host task has gone, so that others may ask for it
    std::unique_ptr<host_task_box> kept_host_task_;
    std::atomic<bool> host_task_begun_{false};
    std::vector<std::shared_ptr<void>> resources_;
    std::vector<std::shared_ptr<backend_event>> wait_list_;
    std::atomic<state> state_{state::waiting};
    std::atomic<bool> finished_{false};

    // Guarded by the graph lock.
    std::size_t unmet_ = 1; ///< the one keeps a command from starting while it is being entered
    std::vector<dependent> dependents_;
    std::vector<std::weak_ptr<command>> dependencies_;
    std::exception_ptr error_;
    std::exception_ptr failed_dependency_;
    std::exception_ptr skipped_; ///< by the back end
    bool handed_over_ = false;   ///< the back end has the command, and waits for its dependencies
    bool withdrawn_ = false;     ///< the back end refused the command
    std::vector<restoration> restorations_;
    std::shared_ptr<backend_event> native_event_;
    bool ends_native_event_ = false;
    std::vector<signal> signals_;
};

} // namespace sycl::detail
