#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/access.hpp>
#include <sycl/detail/device_builtins.hpp>
#include <sycl/detail/local_pool.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace sycl::detail {

/// Where the arrays of local accessors begin.
inline std::byte* local_arrays() {
    return builtin::local_pool() + group_scratch_bytes(builtin::local_size(0));
}

/**
 * What is behind nd_item and group in kernels of device images: the built-in functions, and the group's
 * scratch in local memory. No barrier in here stands under a condition; compilers for processors need that.
 */
class item_state {
public:
    std::size_t local_id() const { return builtin::local_id(0); }
    std::size_t group_id() const { return builtin::group_id(0); }
    std::size_t local_size() const { return builtin::local_size(0); }
    std::size_t n_groups() const { return builtin::n_groups(0); }

    void barrier(access::fence_space space) const {
        switch (space) {
        case access::fence_space::local_space:
            return builtin::barrier(builtin::local_fence);
        case access::fence_space::global_space:
            return builtin::barrier(builtin::global_fence);
        case access::fence_space::global_and_local:
            return builtin::barrier(builtin::local_fence | builtin::global_fence);
        }
    }

    /**
     * Every work-item leaves its value, a few lanes combine slices of them, and the first one combines those:
     * on a processor this takes a fifth of the time of a tree of barriers. The order depends on the group's
     * size alone.
     */
    template <typename Op, typename T>
    T reduce(T value) const {
        static_assert(sizeof(T) <= largest_group_value && std::is_trivially_copyable_v<T>);
        T* const sums = reinterpret_cast<T*>(builtin::local_pool());
        T* const values = sums + reducing_lanes;
        const std::size_t lane = local_id();
        const std::size_t size = local_size();
        const std::size_t n_sums = size < reducing_lanes ? size : reducing_lanes;

        values[lane] = value;
        builtin::barrier(builtin::local_fence);
        if (lane < n_sums) {
            sums[lane] = combine_slice<Op>(values, lane, size);
        }
        builtin::barrier(builtin::local_fence);
        if (lane == 0) {
            combine_halves<Op>(sums, n_sums);
        }
        builtin::barrier(builtin::local_fence);
        return sums[0]; // which the next reduction changes only behind its first barrier
    }

    /// The group's work-items share the elements; they are all there after wait_copy().
    template <typename T>
    std::uint64_t copy(T* target, const T* source, std::size_t count, std::size_t target_stride,
                       std::size_t source_stride) const {
        const std::size_t step = local_size();
        for (std::size_t i = local_id(); i < count; i += step) {
            target[i * target_stride] = source[i * source_stride];
        }
        return 0;
    }
    void wait_copy(std::uint64_t) const { barrier(access::fence_space::global_and_local); }

private:
    template <typename Op, typename T>
    static T combine_slice(const T* values, std::size_t lane, std::size_t size) {
        T result = values[lane];
        for (std::size_t i = lane + reducing_lanes; i < size; i += reducing_lanes) {
            result = Op{}(result, values[i]);
        }
        return result;
    }

    template <typename Op, typename T>
    static void combine_halves(T* values, std::size_t count) {
        while (count > 1) {
            const std::size_t half = (count + 1) / 2;
            for (std::size_t i = 0; i + half < count; ++i) {
                values[i] = Op{}(values[i], values[i + half]);
            }
            count = half;
        }
    }
};

} // namespace sycl::detail

#endif
