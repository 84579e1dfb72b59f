// A command on its way: waiting for events, then ready on its device, then shared by worker threads, then
// complete.
#pragma once

#include "claims.hpp"
#include "event.hpp"
#include "work.hpp"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace basalt {

class scheduler;

class command : public std::enable_shared_from_this<command> {
public:
    /// \p work may be null for a command that does nothing but wait. \p done is completed with the command.
    command(scheduler& target, std::unique_ptr<work> work, event_ref done);

    /// Hands the command to its device as soon as all \p waits, and \p predecessor if there is one, have
    /// completed. The failure of a wait fails the command, that of a predecessor does not.
    void start_after(const std::vector<event_ref>& waits, const event_ref& predecessor);

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

    void dependency_completed();

    scheduler* scheduler_;
    std::unique_ptr<work> work_;
    event_ref done_;
    claims pieces_;
    std::atomic<std::size_t> pending_{1};

    // Kept by the scheduler, under its lock.
    bool started_ = false;
    std::size_t participants_ = 0;
};

} // namespace basalt
