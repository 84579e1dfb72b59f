#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/access.hpp>
#include <sycl/detail/device_builtins.hpp>
#include <sycl/detail/group_vector.hpp>
#include <sycl/detail/local_pool.hpp>
#include <sycl/marray.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace sycl::detail {

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

    template <typename Op, typename T>
    T reduce(T value) const {
        return reduce<Op>(marray<T, 1>(value))[0];
    }

    /**
     * Every work-item leaves its value, a few lanes combine slices of them, and whoever uses the result combines
     * those: mostly one work-item, for which the others need not wait. On a processor this takes a fraction of the
     * time of a tree of barriers. The order depends on the group's size alone. What a value consists of stands
     * apart, so that vectors of it are at hand.
     */
    template <typename Op, typename T, std::size_t N>
    marray<T, N> reduce(const marray<T, N>& value) const {
        static_assert(std::is_arithmetic_v<T> && sizeof(T) <= largest_group_number &&
                      N <= most_group_numbers);
        return reduce_each<Op>(value, std::make_index_sequence<N>());
    }

    /// Each work-item copies one element; they are all there after wait_copy(). What is more than work-items, which
    /// is rare, falls to the first: a loop for all would cost those that never take it.
    template <typename T>
    std::uint64_t copy(T* target, const T* source, std::size_t count, std::size_t target_stride,
                       std::size_t source_stride) const {
        const std::size_t lane = local_id();
        if (lane < count) {
            target[lane * target_stride] = source[lane * source_stride];
        }
        if (lane == 0) {
            for (std::size_t i = local_size(); i < count; ++i) {
                target[i * target_stride] = source[i * source_stride];
            }
        }
        return 0;
    }
    void wait_copy(std::uint64_t) const { barrier(access::fence_space::global_and_local); }

private:
    template <typename Op, typename T, std::size_t N, std::size_t... k>
    marray<T, N> reduce_each(const marray<T, N>& value, std::index_sequence<k...>) const {
        const std::size_t size = local_size();
        std::byte* const behind_variable = builtin::group_scratch() + group_variable_bytes;
        T* const sums = reinterpret_cast<T*>(behind_variable);
        T* const values = reinterpret_cast<T*>(behind_variable + lane_sums_bytes);
        const std::size_t row = group_row(size);

        ((values[k * row + local_id()] = value[k]), ...);
        builtin::barrier(builtin::local_fence);
        if (local_id() < reducing_lanes) {
            (combine_slice<Op>(values + k * row, sums + k * reducing_lanes, local_id(), size), ...);
        }
        builtin::barrier(builtin::local_fence);
        return marray<T, N>(combine_sums<Op>(sums + k * reducing_lanes)...);
    }

    /// Every 32nd full vector of values, beginning with that of the lane, and a value of what is left of them.
    template <typename Op, typename T>
    static void combine_slice(const T* values, T* sums, std::size_t lane, std::size_t size) {
        using vector = group_vector<T>;
        using operation = typename operator_of_vectors<Op>::type;
        const std::size_t n_vectors = size / group_vector_size;
        vector slice = vector::template neutral<Op>();
        for (std::size_t i = lane; i < n_vectors; i += reducing_lanes) {
            slice = slice.template with<Op>(vector::at(values + i * group_vector_size));
        }
        const std::size_t rest = n_vectors * group_vector_size + lane;
        const T last = values[rest < size ? rest : 0];
        sums[lane] = operation{}(slice.template combined<Op>(), rest < size ? last : neutral<Op, T>());
        if (lane == 0) {
            for (std::size_t absent = size; absent < reducing_lanes; ++absent) {
                sums[absent] = neutral<Op, T>();
            }
        }
    }

    template <typename Op, typename T>
    static T combine_sums(const T* sums) {
        static_assert(reducing_lanes == 2 * group_vector_size);
        using vector = group_vector<T>;
        return vector::at(sums)
            .template with<Op>(vector::at(sums + group_vector_size))
            .template combined<Op>();
    }
};

} // namespace sycl::detail

#endif
