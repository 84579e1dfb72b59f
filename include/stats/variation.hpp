/**
 * \file variation.hpp
 * \brief Coefficient of variation of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Coefficient of variation of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param variation output, `n_dims` elements
 * \throws invalid_argument if the output has size 0, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * Square root of the variance (see central_moment()) divided by the mean; a negative mean gives a negative
 * result.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void variation(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                sycl::buffer<T, 1> variation);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param variation output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if the output is null, or (GPU) a count of the dataset is below 1
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the result is there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event variation(sycl::queue& queue, const dataset<L, T*>& data, T* variation,
                                       const std::vector<sycl::event>& dependencies = {});

/**
 * \brief Coefficient of variation about a mean given by the caller.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; tested for nothing
 * \param data the dataset
 * \param variation output, `n_dims` elements
 * \throws invalid_argument as above, then if the mean has size 0
 *
 * The variance is taken about the given mean, and divided by it.
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void variation(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> variation);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; whatever computes it belongs to the dependencies
 * \param data the dataset
 * \param variation output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument as above, then if the mean is null
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the result is there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event variation(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* variation,
                                       const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
