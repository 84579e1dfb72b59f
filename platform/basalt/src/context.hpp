// Contexts: a set of devices and the memory that belongs to them.
#pragma once

#include "device.hpp"
#include "small_memory.hpp"

#include <basalt/basalt.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace basalt {
using context = _bs_context_handle_t;
} // namespace basalt

struct _bs_context_handle_t {
public:
    using allocation = basalt::allocation;

    explicit _bs_context_handle_t(std::vector<bs_device_handle_t> devices) : devices_(std::move(devices)) {}

    /// Throws if \p device is not one of the context's.
    void check_device(bs_device_handle_t device) const;

    void* allocate(bs_device_handle_t device, bs_memory_type_t type, std::size_t bytes,
                   std::size_t alignment);
    void free(void* memory);
    /// The allocation that holds \p memory, or one of unknown type.
    allocation find(const void* memory) const;

    void queue_made() { ++n_queues_; }
    void queue_gone() { --n_queues_; }
    /// Throws while the context is in use.
    void check_unused() const;

private:
    const std::vector<bs_device_handle_t> devices_;
    mutable std::mutex mutex_;
    basalt::small_memory small_;
    std::map<std::uintptr_t, allocation> large_; ///< by base address
    std::atomic<std::size_t> n_queues_{0};
};
