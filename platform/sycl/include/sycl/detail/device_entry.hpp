#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/detail/device_item.hpp>
#include <sycl/local_accessor.hpp>
#include <sycl/nd_item.hpp>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace sycl::detail {

struct own_name;

/// OpenCL devices need not take larger arguments.
inline constexpr std::size_t largest_kernel_object = 1024;

template <typename T>
struct is_local_accessor : std::false_type {};
template <typename T, int Dims>
struct is_local_accessor<local_accessor<T, Dims>> : std::true_type {};

/**
 * Points the local accessors among the members of a kernel object to the group's memory. A driver may share
 * the argument between work-items: each of them stores the same address.
 */
template <typename Kernel>
void bind_local_accessors(Kernel& kernel, void* base) {
    const auto bind = [base](auto& member) {
        if constexpr (is_local_accessor<std::remove_cvref_t<decltype(member)>>::value) {
            member.bind(base);
        }
    };
    if constexpr (std::is_aggregate_v<Kernel>) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wc++26-extensions" // only one compiler makes device images
        auto& [... members] = kernel;
#pragma clang diagnostic pop
        (bind(members), ...);
    }
}

template <typename Kernel>
void run_kernel(Kernel& kernel, std::byte* pool) {
    bind_local_accessors(kernel, pool + group_scratch_bytes(builtin::local_size(0)));
    if constexpr (std::is_invocable_v<const Kernel&, nd_item<1>>) {
        std::as_const(kernel)(nd_item<1>(item_state(pool)));
    } else {
        std::as_const(kernel)();
    }
}

using local_byte = __attribute__((opencl_local)) std::byte;

/**
 * What a device image runs: its arguments are the kernel object and one block of local memory, in which the
 * group algorithms' scratch is followed by the local accessors' arrays.
 */
template <typename Name, typename Kernel>
[[clang::sycl_kernel_entry_point(Name)]] void kernel_entry(Kernel kernel, local_byte* pool) {
    static_assert(std::is_trivially_copyable_v<Kernel>, "a kernel object reaches the device byte by byte");
    static_assert(sizeof(Kernel) <= largest_kernel_object, "the kernel object is larger than 1024 bytes");
    // The compiler takes parameters of an entry for something else in the initialiser of a variable.
    run_kernel(kernel, pool);
}

template <typename Name, typename Kernel>
void instantiate_entry(const Kernel& kernel) {
    using named = std::conditional_t<std::is_same_v<Name, own_name>, Kernel, Name>;
    kernel_entry<named, Kernel>(kernel, nullptr);
}

} // namespace sycl::detail

#endif
