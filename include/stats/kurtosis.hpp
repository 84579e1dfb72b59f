/**
 * \file kurtosis.hpp
 * \brief Excess kurtosis of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Excess kurtosis of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param kurtosis output, `n_dims` elements
 * \throws invalid_argument if the output has size 0, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * Fourth central moment divided by the square of the variance, less 3; see central_moment() for both.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void kurtosis(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                               sycl::buffer<T, 1> kurtosis);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param kurtosis output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if the output is null, or (GPU) a count of the dataset is below 1
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the result is there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event kurtosis(sycl::queue& queue, const dataset<L, T*>& data, T* kurtosis,
                                      const std::vector<sycl::event>& dependencies = {});

/**
 * \brief Excess kurtosis about a mean given by the caller.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; tested for nothing
 * \param data the dataset
 * \param kurtosis output, `n_dims` elements
 * \throws invalid_argument as above, then if the mean has size 0
 *
 * Variance and fourth moment are taken about the given mean.
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void kurtosis(sycl::queue& queue, sycl::buffer<T, 1> mean,
                               const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> kurtosis);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; whatever computes it belongs to the dependencies
 * \param data the dataset
 * \param kurtosis output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument as above, then if the mean is null
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the result is there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event kurtosis(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* kurtosis,
                                      const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
