/**
 * \file min_max.hpp
 * \brief Smallest and largest value of every dimension in one pass.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Smallest and largest value of every dimension; the same values as min() and max().
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param min output, `n_dims` elements
 * \param max output, `n_dims` elements
 * \throws invalid_argument if an output has size 0 (min is tested first), or (GPU) a count of the dataset is
 * below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void min_max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                              sycl::buffer<T, 1> min, sycl::buffer<T, 1> max);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param min output, `n_dims` elements
 * \param max output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if an output is null (min is tested first), or (GPU) a count of the dataset is
 * below 1
 * \throws device_bad_alloc if the GPU device has no memory for the partial results
 *
 * On a GPU device the calling thread blocks until the result is there, unless one pass over the data is enough.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event min_max(sycl::queue& queue, const dataset<L, T*>& data, T* min, T* max,
                                     const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
