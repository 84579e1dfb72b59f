#include "command.hpp"

#include "scheduler.hpp"

namespace basalt {

command::command(scheduler& target, std::unique_ptr<work> work, event_ref done)
    : scheduler_(&target), work_(std::move(work)), done_(std::move(done)),
      pieces_(work_ ? work_->n_pieces() : 0, target.n_threads()) {}

void command::start_after(const std::vector<event_ref>& waits, const event_ref& predecessor) {
    pending_ += waits.size() + (predecessor ? 1 : 0);
    for (const event_ref& wait : waits) {
        wait->listen([self = shared_from_this()](bs_result_t status, const std::string& message) {
            if (status != BS_SUCCESS) {
                self->pieces_.fail(
                    {status, "a command was not started, for what it waits for failed: " + message});
            }
            self->dependency_completed();
        });
    }
    if (predecessor) {
        predecessor->listen(
            [self = shared_from_this()](bs_result_t, const std::string&) { self->dependency_completed(); });
    }
    dependency_completed();
}

void command::dependency_completed() {
    if (pending_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        scheduler_->push(shared_from_this());
    }
}

void command::take_part() noexcept {
    if (!work_) {
        return;
    }
    try {
        work_->take_part(pieces_);
    } catch (...) {
        pieces_.fail(current_failure());
    }
}

void command::complete() {
    work_.reset();
    failure why = pieces_.why();
    done_->complete(why.status, std::move(why.message));
}

} // namespace basalt
