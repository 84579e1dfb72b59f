// Small allocations: slots of equal size in slabs. A call that needs a few small arrays for a moment would spend
// more on the tree of large allocations than on its results.
#pragma once

#include <basalt/basalt.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <vector>

namespace basalt {

struct allocation {
    void* base;
    std::size_t bytes;
    bs_memory_type_t type;     ///< unknown for a slot that is free
    bs_device_handle_t device; ///< null for host memory
};

/// Not safe from several threads at once: the context's lock guards it, as it does the rest.
class small_memory {
public:
    /// Whether a slot takes \p bytes at \p alignment. Never under the address sanitizer, which sees an array's end
    /// only where the array is an allocation of its own.
    static bool takes(std::size_t bytes, std::size_t alignment);

    void* take(bs_device_handle_t device, bs_memory_type_t type, std::size_t bytes);
    /// Whether \p memory was the start of a slot in use; it is free now.
    bool give_back(void* memory);
    /// The allocation that holds \p memory, or null.
    const allocation* find(const void* memory) const;
    std::size_t in_use() const { return slabs_.size() * slots_per_slab - free_.size(); }

private:
    static constexpr std::size_t slot_bytes = 256;
    static constexpr std::size_t slots_per_slab = 256;

    struct slab {
        std::unique_ptr<std::byte, decltype(&std::free)> memory;
        std::unique_ptr<allocation[]> slots;
    };

    void add_slab();
    allocation* slot_of(const void* memory) const;

    std::vector<slab> slabs_; ///< by address
    std::vector<allocation*> free_;
};

} // namespace basalt
