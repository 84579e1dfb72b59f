#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

/// Kernels of the tests of the OpenCL back end, host-compiled and as device images.
namespace test {

/// out[group] = sum of the squares of the group's tile of \p in, which is staged in local memory.
template <typename T>
sycl::event sum_of_squares(sycl::queue& queue, sycl::buffer<T, 1>& in, sycl::buffer<T, 1>& out,
                           std::size_t local_size);

/// values[i] = values[i] * factor + i, behind \p dependencies.
template <typename T>
sycl::event scale_and_count(sycl::queue& queue, T* values, std::size_t n, T factor,
                            const std::vector<sycl::event>& dependencies = {});

/// The smallest and the largest value and the sum of one group, with two arrays of local memory.
template <typename T>
sycl::event describe_group(sycl::queue& queue, const T* values, std::size_t n, T* smallest_largest_sum);

/// sums[i] = the sum of \p values times each of the numbers \p n_rounds to 1, by one group of \p n. All work-items add up
/// the group's sums, in a loop that a group variable counts; among them stand sums of several numbers that cancel out.
template <typename T>
sycl::event add_rounds(sycl::queue& queue, const T* values, std::size_t n, std::size_t n_rounds, T* sums);

/// A kernel that has no device image.
sycl::event without_image(sycl::queue& queue, int* value);

} // namespace test
