#pragma once

#include <sycl/functional.hpp>
#include <sycl/nd_item.hpp>

#ifndef __SYCL_DEVICE_ONLY__
#include <atomic>
#endif

namespace sycl {

/**
 * Combines one value of each work-item of the group. Collective. The same bits for the same group size and
 * input. \p Op is plus, minimum or maximum.
 */
template <int Dims, typename T, typename Op>
T reduce_over_group(const group<Dims>& over, T value, Op) {
    static_assert(detail::is_group_operator<Op>::value, "plus, minimum and maximum are supported");
    return over.state().template reduce<Op>(value);
}

/// As above, with \p initial combined in once.
template <int Dims, typename V, typename T, typename Op>
T reduce_over_group(const group<Dims>& over, V value, T initial, Op op) {
    return op(initial, reduce_over_group(over, static_cast<T>(value), op));
}

/// All work-items of the group meet; stores to local and global memory before it are seen after it in \p
/// scope.
template <int Dims>
void group_barrier(const group<Dims>& over, memory_scope = group<Dims>::fence_scope) {
    over.state().barrier(access::fence_space::global_and_local);
}

#ifndef __SYCL_DEVICE_ONLY__
inline void atomic_fence(memory_order order, memory_scope) {
    switch (order) {
    case memory_order::relaxed:
        return;
    case memory_order::acquire:
        return std::atomic_thread_fence(std::memory_order_acquire);
    case memory_order::release:
        return std::atomic_thread_fence(std::memory_order_release);
    case memory_order::acq_rel:
        return std::atomic_thread_fence(std::memory_order_acq_rel);
    case memory_order::seq_cst:
        return std::atomic_thread_fence(std::memory_order_seq_cst);
    }
}
#endif

} // namespace sycl
