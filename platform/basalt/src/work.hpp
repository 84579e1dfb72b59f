// What a command does, in pieces that any number of worker threads can share.
#pragma once

#include "claims.hpp"

#include <basalt/basalt.h>

#include <cstddef>
#include <memory>

namespace basalt {

class work {
public:
    virtual ~work() = default;
    virtual std::size_t n_pieces() const = 0;
    /// Called by each worker thread that takes part; claims pieces until there are none. May throw.
    virtual void take_part(claims& pieces) = 0;
    /// Kernels wait for the device's launch delay.
    virtual bool is_kernel() const { return false; }
};

/// \param local_memory_bytes what the device has for each group
std::unique_ptr<work> make_kernel_work(const bs_kernel_t& kernel, std::size_t local_memory_bytes);
std::unique_ptr<work> make_copy_work(void* target, const void* source, std::size_t bytes);
std::unique_ptr<work> make_fill_work(void* target, const void* pattern, std::size_t pattern_bytes,
                                     std::size_t count);

} // namespace basalt
