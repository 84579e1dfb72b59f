// A command on its way: waiting for events, then ready on its device, then shared by worker threads, then
// complete.
#pragma once

#include "claims.hpp"
#include "event.hpp"
#include "work.hpp"

#include <atomic>
#include <list>
#include <memory>
#include <vector>

namespace basalt {

class scheduler;

class command : public std::enable_shared_from_this<command> {
public:
    /// \p work may be null for a command that does nothing but wait. \p done is completed with the command.
    command(scheduler& target, std::unique_ptr<work> work, event_ref done);

    /// What makes the command ready. The failure of a wait fails it, that of a predecessor does not.
    struct conditions {
        std::vector<event_ref> waits;
        event::listeners on_waits; ///< one for each
        event_ref predecessor;     ///< null if there is none
        event::listeners on_predecessor;
    };
    /// Finds all memory that the command takes to start; the predecessor may be filled in later.
    conditions make_conditions(std::vector<event_ref> waits);

    /// Hands the command to its device as soon as the conditions, its own, are met.
    void start_after(conditions what) noexcept;

    bool is_kernel() const { return work_ && work_->is_kernel(); }
    bool exhausted() const { return pieces_.exhausted(); }
    /// Whether one more thread would find something to do. Asked under the scheduler's lock.
    bool joinable() const { return started_ && participants_ < pieces_.max_claims() && !exhausted(); }

    /// Runs pieces on this thread until none is left.
    void take_part() noexcept;
    /// Called once by the last thread that took part.
    void complete();

private:
    friend class scheduler;

    void dependency_completed() noexcept;

    scheduler* scheduler_;
    std::unique_ptr<work> work_;
    event_ref done_;
    claims pieces_;
    std::atomic<std::size_t> pending_{1};

    // Kept by the scheduler, under its lock.
    std::list<std::shared_ptr<command>> place_{1}; ///< in its queue; made early, so that queueing cannot fail
    bool started_ = false;
    std::size_t participants_ = 0;
};

} // namespace basalt
