// A set of fibers that one thread at a time switches between. Fibers are made once and kept.
#pragma once

#include "context_switch.hpp"
#include "fiber_stacks.hpp"
#include "sanitizer.hpp"

#include <cstddef>
#include <memory>

namespace basalt {

/// What fibers run.
class fiber_body {
public:
    /// Runs on fiber \p index when the set is first entered there; never returns.
    virtual void run_fiber(std::size_t index) = 0;

protected:
    ~fiber_body() = default;
};

/// Never destroyed: fibers are abandoned with the process.
class fiber_set {
public:
    fiber_set(fiber_body& body, std::size_t max_count);
    fiber_set(const fiber_set&) = delete;
    fiber_set& operator=(const fiber_set&) = delete;

    /// Makes fibers until there are at least \p count.
    void reserve(std::size_t count);

    /// To be kept while fibers are in use.
    sanitizer::live_stacks live() const { return stacks_.live(); }

    /// From the thread into a fiber; returns when a fiber leaves.
    void enter(std::size_t to);
    /// From one fiber into another; returns when something switches back.
    void switch_to(std::size_t from, std::size_t to) { jump(endpoints_[from], endpoints_[to]); }
    /// From a fiber back to the thread that entered the set.
    void leave(std::size_t from) { jump(endpoints_[from], home_); }

private:
    /// One side of a switch.
    struct endpoint {
        suspended context = nullptr; ///< while it is not running
        [[no_unique_address]] sanitizer::stack_record record;
    };

    void make(std::size_t index);
    void run(std::size_t index, suspended origin);

    void jump(endpoint& from, endpoint& to) {
        leaving_ = &from;
        from.record.before_switch(to.record);
        arrive(from, switch_context(to.context));
    }
    void arrive(endpoint& at, suspended origin) {
        leaving_->context = origin;
        at.record.after_switch();
    }

    fiber_body* body_;
    fiber_stacks stacks_;
    // Suspended fibers hold references to their endpoints: the array never moves.
    std::unique_ptr<endpoint[]> endpoints_;
    std::size_t count_ = 0;
    endpoint home_;
    endpoint* leaving_ = nullptr; ///< whose context the side that runs next receives
};

} // namespace basalt
