#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <sycl/detail/device_item.hpp>
#include <sycl/nd_item.hpp>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace sycl::detail {

struct own_name;

/// OpenCL devices need not take larger arguments.
inline constexpr std::size_t largest_kernel_object = 1024;

using local_byte = __attribute__((opencl_local)) std::byte;

/**
 * What a device image runs: its arguments are the kernel object and two blocks of local memory, for the local
 * accessors' arrays and for the group algorithms. The kernel reaches them through builtin::local_arrays() and
 * builtin::group_scratch().
 */
template <typename Name, typename Kernel>
[[clang::sycl_kernel_entry_point(Name)]] void kernel_entry(Kernel kernel, local_byte*, local_byte*) {
    static_assert(std::is_trivially_copyable_v<Kernel>, "a kernel object reaches the device byte by byte");
    static_assert(sizeof(Kernel) <= largest_kernel_object, "the kernel object is larger than 1024 bytes");
    if constexpr (std::is_invocable_v<const Kernel&, nd_item<1>>) {
        std::as_const(kernel)(nd_item<1>(item_state()));
    } else {
        std::as_const(kernel)();
    }
}

template <typename Name, typename Kernel>
void instantiate_entry(const Kernel& kernel) {
    using named = std::conditional_t<std::is_same_v<Name, own_name>, Kernel, Name>;
    kernel_entry<named, Kernel>(kernel, nullptr, nullptr);
}

} // namespace sycl::detail

#endif
