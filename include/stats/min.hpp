/**
 * \file min.hpp
 * \brief Smallest value of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Smallest value of every dimension. Weights are ignored.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param min output, `n_dims` elements
 * \throws invalid_argument if the output has size 0, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * The result is never above the largest finite value: a dimension of +inf only gives that value.
 * An element that is NaN is passed over, wherever it stands.
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void min(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                          sycl::buffer<T, 1> min);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param min output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if the output is null, or (GPU) a count of the dataset is below 1
 * \throws device_bad_alloc if the GPU device has no memory for the partial results
 *
 * On a GPU device the calling thread blocks until the result is there, unless one pass over the data is enough.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event min(sycl::queue& queue, const dataset<L, T*>& data, T* min,
                                 const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
