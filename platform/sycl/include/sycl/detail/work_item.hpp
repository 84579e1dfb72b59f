#pragma once

#include <sycl/access.hpp>

#include <basalt/basalt.h>

#include <cstddef>
#include <cstdint>

namespace sycl::detail {

/**
 * Combines \p count packed values pairwise. The order depends on the count alone, so that equal groups and
 * inputs give equal bits, and halving keeps the rounding error of a sum at its logarithm.
 */
template <typename T, typename Op>
void combine_pairwise(void* packed, std::size_t count, void* result) {
    auto* values = static_cast<T*>(packed);
    while (count > 1) {
        const std::size_t half = (count + 1) / 2;
        for (std::size_t i = 0; i + half < count; ++i) {
            values[i] = Op{}(values[i], values[i + half]);
        }
        count = half;
    }
    *static_cast<T*>(result) = values[0];
}

/// The state behind nd_item and group in host-compiled kernels, which the software GPU's engine runs on all
/// devices.
class item_state {
public:
    explicit item_state(const bs_work_item_t* item) : item_(item) {}

    std::size_t local_id() const { return item_->local_id; }
    std::size_t group_id() const { return item_->group_id; }
    std::size_t local_size() const { return item_->local_size; }
    std::size_t n_groups() const { return item_->n_groups; }

    void barrier(access::fence_space) const { bs_group_barrier(item_); }

    template <typename Op, typename T>
    T reduce(T value) const {
        T result;
        bs_group_combine(item_, &value, sizeof value, &combine_pairwise<T, Op>, &result);
        return result;
    }

    template <typename T>
    std::uint64_t copy(T* target, const T* source, std::size_t count, std::size_t target_stride,
                       std::size_t source_stride) const {
        return bs_group_copy(item_, target, source, sizeof(T), count, target_stride, source_stride);
    }
    void wait_copy(std::uint64_t copy) const { bs_group_wait_copy(item_, copy); }

private:
    const bs_work_item_t* item_;
};

} // namespace sycl::detail
