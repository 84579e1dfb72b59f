#include "command.hpp"

#include "scheduler.hpp"

namespace basalt {

namespace {

failure failure_of_wait(bs_result_t status, const std::string& message) noexcept {
    try {
        return {status, "a command was not started, for what it waits for failed: " + message};
    } catch (const std::bad_alloc&) {
        return {status, {}};
    }
}

} // namespace

command::command(scheduler& target, std::unique_ptr<work> work, event_ref done)
    : scheduler_(&target), work_(std::move(work)), done_(std::move(done)),
      pieces_(work_ ? work_->n_pieces() : 0, target.n_threads()) {}

command::conditions command::make_conditions(std::vector<event_ref> waits) {
    conditions result{std::move(waits), {}, nullptr, {}};
    const auto on_wait = [self = shared_from_this()](bs_result_t status, const std::string& message) {
        if (status != BS_SUCCESS) {
            self->pieces_.fail(failure_of_wait(status, message));
        }
        self->dependency_completed();
    };
    result.on_waits.assign(result.waits.size(), on_wait);
    result.on_predecessor.emplace_back(
        [self = shared_from_this()](bs_result_t, const std::string&) { self->dependency_completed(); });
    return result;
}

void command::start_after(conditions what) noexcept {
    pending_ += what.waits.size() + (what.predecessor ? 1 : 0);
    for (const event_ref& wait : what.waits) {
        event::listeners next;
        next.splice(next.begin(), what.on_waits, what.on_waits.begin());
        wait->listen(std::move(next));
    }
    if (what.predecessor) {
        what.predecessor->listen(std::move(what.on_predecessor));
    }
    dependency_completed();
}

void command::dependency_completed() noexcept {
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
    failure why = pieces_.take_failure();
    done_->complete(why.status, std::move(why.message));
}

} // namespace basalt
