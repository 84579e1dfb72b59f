#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/access.hpp>
#include <sycl/detail/device_builtins.hpp>
#include <sycl/detail/local_pool.hpp>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace sycl::detail {

/// What is behind nd_item and group in kernels of device images: the built-in functions, and the group's scratch in
/// local memory.
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
     * Every work-item leaves its value, the first 32 combine those of every 32nd work-item, and the first one combines
     * theirs. Neighbouring work-items read neighbouring elements. The order depends on the group's size alone.
     *
     * The group instructions of SPIR-V would leave the order to the driver, and drivers of OpenCL 3.0 need not take
     * them for work-groups.
     */
    template <typename Op, typename T>
    T reduce(T value) const {
        static_assert(std::is_arithmetic_v<T>);
        const std::size_t size = local_size();
        const std::size_t lane = local_id();
        T* const values = reinterpret_cast<T*>(builtin::group_scratch(sizeof(T)));
        T* const sums = values + size; // read while the next reduction stores its values
        values[lane] = value;
        builtin::barrier(builtin::local_fence);
        if (lane < reducing_lanes) {
            sums[lane] = combine<Op>(values, lane, size, reducing_lanes);
        }
        builtin::barrier(builtin::local_fence);
        if (lane == 0) {
            sums[0] = combine<Op>(sums, 0, reducing_lanes_of(size), 1);
        }
        builtin::barrier(builtin::local_fence);
        return sums[0];
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
    template <typename Op, typename T>
    static T combine(const T* values, std::size_t first, std::size_t end, std::size_t stride) {
        T result = values[first];
        for (std::size_t i = first + stride; i < end; i += stride) {
            result = Op{}(result, values[i]);
        }
        return result;
    }
};

} // namespace sycl::detail

#endif
