#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

/// Kernels of the tests of the OpenCL back end, host-compiled and as device images.
namespace test {

/// out[group] = sum of the squares of the group's tile of \p in, which is staged in local memory, with room for \p tile_size
/// elements if that is more, and turned around there.
template <typename T>
sycl::event sum_of_squares(sycl::queue& queue, sycl::buffer<T, 1>& in, sycl::buffer<T, 1>& out,
                           std::size_t local_size, std::size_t tile_size = 0);

/// values[i] = values[i] * factor + i, behind \p dependencies.
sycl::event scale_and_count(sycl::queue& queue, float* values, std::size_t n, float factor,
                            const std::vector<sycl::event>& dependencies = {});

/// sums[i] = the sum of \p values times each of the numbers \p n_rounds to 1, by one group of \p n. All work-items add up
/// the group's sums, in a loop that a group variable counts; among them stand sums of several numbers that cancel out.
sycl::event add_rounds(sycl::queue& queue, const float* values, std::size_t n, std::size_t n_rounds,
                       float* sums);

} // namespace test
