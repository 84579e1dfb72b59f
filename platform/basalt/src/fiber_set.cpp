#include "fiber_set.hpp"

#include <exception>

namespace basalt {

namespace fcontext = boost::context::detail;

fiber_set::fiber_set(fiber_body& body, std::size_t max_count)
    : body_(&body), stacks_(max_count), endpoints_(std::make_unique<endpoint[]>(max_count)) {}

void fiber_set::reserve(std::size_t count) {
    for (; count_ < count; ++count_) {
        make(count_);
    }
}

void fiber_set::make(std::size_t index) {
    struct birth {
        fiber_set* set;
        std::size_t index;
    };
    const fiber_stacks::stack stack = stacks_.open(index);
    endpoint& made = endpoints_[index];
    made.record.describe_fiber(stack.bottom, stack.size);
    home_.record.describe_this_thread();
    // Run it as far as its first leave, so that from now on every switch has two sides that know each other.
    const suspended fresh =
        fcontext::make_fcontext(stack.bottom + stack.size, stack.size, [](fcontext::transfer_t t) {
            const sanitizer::engine_scope hidden;
            const birth b = *static_cast<const birth*>(t.data);
            b.set->run(b.index, t.fctx);
        });
    birth b{this, index};
    leaving_ = &home_;
    home_.record.before_first_switch(made.record);
    arrive(home_, fcontext::jump_fcontext(fresh, &b).fctx);
}

void fiber_set::run(std::size_t index, suspended origin) {
    arrive(endpoints_[index], origin);
    leave(index);
    body_->run_fiber(index);
    std::terminate();
}

void fiber_set::enter(std::size_t to) {
    home_.record.describe_this_thread();
    jump(home_, endpoints_[to]);
}

} // namespace basalt
