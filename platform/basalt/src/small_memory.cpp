#include "small_memory.hpp"

#include "error.hpp"

#include <algorithm>
#include <functional>
#include <utility>

namespace basalt {

namespace {

/// The first of \p slabs that begins behind \p memory.
template <typename Slabs>
auto slab_after(Slabs& slabs, const void* memory) {
    return std::upper_bound(slabs.begin(), slabs.end(), memory, [](const void* key, const auto& each) {
        return std::less<>()(key, static_cast<const void*>(each.memory.get()));
    });
}

} // namespace

bool small_memory::takes([[maybe_unused]] std::size_t bytes, [[maybe_unused]] std::size_t alignment) {
#ifdef __SANITIZE_ADDRESS__
    return false;
#else
    return bytes <= slot_bytes && alignment <= slot_bytes;
#endif
}

void* small_memory::take(bs_device_handle_t device, bs_memory_type_t type, std::size_t bytes) {
    if (free_.empty()) {
        add_slab();
    }
    allocation& slot = *free_.back();
    free_.pop_back();
    slot = {slot.base, bytes, type, device};
    return slot.base;
}

bool small_memory::give_back(void* memory) {
    allocation* const slot = slot_of(memory);
    if (slot == nullptr || slot->base != memory || slot->type == BS_MEMORY_UNKNOWN) {
        return false;
    }
    slot->type = BS_MEMORY_UNKNOWN;
    free_.push_back(slot); // add_slab() has made room
    return true;
}

const allocation* small_memory::find(const void* memory) const {
    const allocation* const slot = slot_of(memory);
    const bool inside = slot != nullptr && slot->type != BS_MEMORY_UNKNOWN &&
                        static_cast<const std::byte*>(memory) - static_cast<std::byte*>(slot->base) <
                            static_cast<std::ptrdiff_t>(slot->bytes);
    return inside ? slot : nullptr;
}

void small_memory::add_slab() {
    constexpr std::size_t bytes = slot_bytes * slots_per_slab;
    slab made{{static_cast<std::byte*>(std::aligned_alloc(slot_bytes, bytes)), &std::free},
              std::make_unique<allocation[]>(slots_per_slab)};
    if (made.memory == nullptr) {
        throw error(BS_ERROR_OUT_OF_MEMORY, "no memory for " + std::to_string(bytes) + " bytes");
    }
    free_.reserve((slabs_.size() + 1) * slots_per_slab);
    const auto place = slab_after(slabs_, made.memory.get());
    const slab& kept = *slabs_.insert(place, std::move(made));
    for (std::size_t i = slots_per_slab; i-- > 0;) {
        kept.slots[i] = {kept.memory.get() + i * slot_bytes, 0, BS_MEMORY_UNKNOWN, nullptr};
        free_.push_back(&kept.slots[i]);
    }
}

allocation* small_memory::slot_of(const void* memory) const {
    const auto after = slab_after(slabs_, memory);
    if (after == slabs_.begin()) {
        return nullptr;
    }
    const slab& candidate = *std::prev(after);
    const auto offset =
        static_cast<std::size_t>(static_cast<const std::byte*>(memory) - candidate.memory.get());
    return offset < slot_bytes * slots_per_slab ? &candidate.slots[offset / slot_bytes] : nullptr;
}

} // namespace basalt
