#pragma once

#ifdef __SYCL_DEVICE_ONLY__

#include <cstddef>

/**
 * The OpenCL built-in functions that device code of this runtime calls, under the symbols by which device
 * compilers know them. Names of our own keep them apart from the C library's, which host code of the same
 * translation unit declares.
 */
namespace sycl::detail::builtin {

/// The kernel's blocks of local memory. No built-ins of OpenCL: the tool that makes device images puts the
/// arguments of the kernel's entry in their places.
__attribute__((const)) std::byte* local_arrays() __asm__("__sycl_local_arrays");
/// For reductions of values of \p value_bytes; the tool tells the runtime the largest of a kernel.
__attribute__((const)) std::byte* group_scratch(std::size_t value_bytes) __asm__("__sycl_group_scratch");

/// Not constant, although it is: what stands on either side of a barrier asks for itself. A compiler that runs the
/// work-items of a group in turn has it at hand, and would keep a copy of it in memory for each of them.
__attribute__((pure)) std::size_t local_id(unsigned dimension) __asm__("_Z12get_local_idj");
__attribute__((const)) std::size_t group_id(unsigned dimension) __asm__("_Z12get_group_idj");
__attribute__((const)) std::size_t local_size(unsigned dimension) __asm__("_Z14get_local_sizej");
__attribute__((const)) std::size_t n_groups(unsigned dimension) __asm__("_Z14get_num_groupsj");

inline constexpr unsigned local_fence = 1;
inline constexpr unsigned global_fence = 2;
__attribute__((convergent)) void barrier(unsigned fences) __asm__("_Z7barrierj");

__attribute__((const)) float mad(float a, float b, float c) __asm__("_Z3madfff");
__attribute__((const)) double mad(double a, double b, double c) __asm__("_Z3madddd");
__attribute__((const)) float fma(float a, float b, float c) __asm__("_Z3fmafff");
__attribute__((const)) double fma(double a, double b, double c) __asm__("_Z3fmaddd");
__attribute__((const)) float sqrt(float x) __asm__("_Z4sqrtf");
__attribute__((const)) double sqrt(double x) __asm__("_Z4sqrtd");

} // namespace sycl::detail::builtin

#endif
