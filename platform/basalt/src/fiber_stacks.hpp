// Stacks of a set of fibers: one reserved range of addresses, opened stack by stack.
#pragma once

#include "sanitizer.hpp"

#include <cstddef>

namespace basalt {

class fiber_stacks {
public:
    struct stack {
        std::byte* bottom; ///< lowest address
        std::size_t size;  ///< bytes from bottom to the coloured top, from which the stack grows down
    };

    explicit fiber_stacks(std::size_t max_count);
    ~fiber_stacks();
    fiber_stacks(const fiber_stacks&) = delete;
    fiber_stacks& operator=(const fiber_stacks&) = delete;

    /// Makes stack number \p index usable. Throws error(BS_ERROR_OUT_OF_MEMORY).
    stack open(std::size_t index);

    /// To be kept while fibers may be suspended in the middle of something.
    sanitizer::live_stacks live() const;

private:
    std::byte* base_;
    std::size_t max_count_;
};

} // namespace basalt
