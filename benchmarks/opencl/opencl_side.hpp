// The two sides that stand beside the library: both hold a copy of the data in buffers of the same device and context.
#ifndef BENCHMARKS_OPENCL_OPENCL_SIDE_HPP
#define BENCHMARKS_OPENCL_OPENCL_SIDE_HPP

#include <CL/cl.h>

#include <functional>
#include <vector>

namespace bench {

/// \brief Borrowed handles; the queue runs its commands in order.
struct opencl_handles {
    cl_device_id device;
    cl_context context;
    cl_command_queue queue;
};

enum class placement { by_dimension, by_observation };

template <typename T>
struct matrix_view {
    const T* values;
    std::size_t n_dims;
    std::size_t n_observations;
    placement layout;

    std::size_t size() const { return n_dims * n_observations; }
};

/// \brief A computation that answers with one number per dimension.
template <typename T>
using side = std::function<std::vector<T>()>;

/// \brief Kurtosis of each dimension from the first four power sums, which \c transform_reduce of Boost.Compute
/// adds up in one pass over the dimension. The data is copied once, here.
template <typename T>
side<T> boost_compute_kurtosis(const opencl_handles& handles, const matrix_view<T>& data);

/// \brief Sum of each block of an n_dims-th of the memory, by a kernel that reads every element once and does nothing
/// else: the limit. For data by dimension these are the dimensions' sums. The data is copied once, here.
template <typename T>
side<T> plain_sum(const opencl_handles& handles, const matrix_view<T>& data);

/// \brief Excess kurtosis, over the squared unbiased variance, from the sums of the first four powers of \p n observations.
template <typename T>
T kurtosis_of(const T* sums, std::size_t n) {
    const T count = static_cast<T>(n);
    const T mean = sums[0] / count, raw2 = sums[1] / count, raw3 = sums[2] / count, raw4 = sums[3] / count;
    const T central2 = raw2 - mean * mean;
    const T central4 = raw4 - 4 * mean * raw3 + 6 * mean * mean * raw2 - 3 * mean * mean * mean * mean;
    const T variance = central2 * count / (count - 1);
    return central4 / (variance * variance) - 3;
}

} // namespace bench

#endif
