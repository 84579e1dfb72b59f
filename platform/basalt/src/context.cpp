#include "context.hpp"

#include "error.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t default_alignment = 64;

std::uintptr_t address(const void* memory) {
    return reinterpret_cast<std::uintptr_t>(memory);
}

/// The memory of a software device is that of the machine.
std::size_t memory_of_machine() {
    static const std::size_t bytes = static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) *
                                     static_cast<std::size_t>(::sysconf(_SC_PAGE_SIZE));
    return bytes;
}

void* allocate_exactly(std::size_t bytes, std::size_t alignment) {
    void* memory = nullptr;
    if (bytes > memory_of_machine() ||
        ::posix_memalign(&memory, std::max(alignment, sizeof(void*)), bytes) != 0) {
        throw basalt::error(BS_ERROR_OUT_OF_MEMORY, "no memory for " + std::to_string(bytes) + " bytes");
    }
    return memory;
}

} // namespace

void _bs_context_handle_t::check_device(bs_device_handle_t device) const {
    if (std::find(devices_.begin(), devices_.end(), device) == devices_.end()) {
        basalt::throw_invalid("the device does not belong to the context");
    }
}

void* _bs_context_handle_t::allocate(bs_device_handle_t device, bs_memory_type_t type, std::size_t bytes,
                                     std::size_t alignment) {
    if (type != BS_MEMORY_DEVICE && type != BS_MEMORY_HOST && type != BS_MEMORY_SHARED) {
        basalt::throw_invalid("memory type " + std::to_string(type) + " is neither device, host nor shared");
    }
    if ((alignment & (alignment - 1)) != 0) {
        basalt::throw_invalid("alignment " + std::to_string(alignment) + " is no power of two");
    }
    if (type == BS_MEMORY_HOST) {
        device = nullptr;
    } else {
        check_device(device);
    }
    bytes = std::max<std::size_t>(bytes, 1);
    alignment = alignment == 0 ? default_alignment : alignment;
    if (basalt::small_memory::takes(bytes, alignment)) {
        const std::lock_guard lock(mutex_);
        return small_.take(device, type, bytes);
    }
    std::unique_ptr<void, decltype(&std::free)> memory(allocate_exactly(bytes, alignment), &std::free);
    const std::lock_guard lock(mutex_);
    large_.emplace(address(memory.get()), allocation{memory.get(), bytes, type, device});
    return memory.release();
}

void _bs_context_handle_t::free(void* memory) {
    if (memory == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        if (small_.give_back(memory)) {
            return;
        }
        if (large_.erase(address(memory)) == 0) {
            basalt::throw_invalid("the pointer is not the start of an allocation of this context");
        }
    }
    std::free(memory);
}

_bs_context_handle_t::allocation _bs_context_handle_t::find(const void* memory) const {
    const std::lock_guard lock(mutex_);
    if (const allocation* const small = small_.find(memory)) {
        return *small;
    }
    auto after = large_.upper_bound(address(memory));
    if (after != large_.begin()) {
        const allocation& candidate = std::prev(after)->second;
        if (address(memory) - address(candidate.base) < candidate.bytes) {
            return candidate;
        }
    }
    return {nullptr, 0, BS_MEMORY_UNKNOWN, nullptr};
}

void _bs_context_handle_t::check_unused() const {
    const std::lock_guard lock(mutex_);
    const std::size_t allocations = small_.in_use() + large_.size();
    if (allocations != 0 || n_queues_ != 0) {
        basalt::throw_invalid("the context is in use: " + std::to_string(allocations) + " allocations and " +
                              std::to_string(n_queues_) + " queues are left");
    }
}
