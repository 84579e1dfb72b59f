/**
 * \file central_sum.hpp
 * \brief Central sums of order 2 to 4 of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Central sums of order 2 to 4 of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param central_sum_2 output of order 2, `n_dims` elements; not optional
 * \param central_sum_3 output of order 3, `n_dims` elements or absent
 * \param central_sum_4 output of order 4, `n_dims` elements or absent
 * \throws invalid_argument if central_sum_2 is absent, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 * \throws unimplemented for method::standard on a GPU device
 *
 * Order k is the sum of w * (x - m)^k about the mean m. On a GPU device it is expanded from raw sums of one
 * pass, so that data whose mean is large against its spread lose digits; give a mean to keep them.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void central_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> central_sum_2, sycl::buffer<T, 1> central_sum_3,
                                  sycl::buffer<T, 1> central_sum_4);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param central_sum_2 output of order 2, `n_dims` elements; not optional
 * \param central_sum_3 output of order 3, `n_dims` elements or absent
 * \param central_sum_4 output of order 4, `n_dims` elements or absent
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if central_sum_2 is absent, or (GPU) a count of the dataset is below 1
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the results are there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event central_sum(sycl::queue& queue, const dataset<L, T*>& data, T* central_sum_2,
                                         T* central_sum_3, T* central_sum_4,
                                         const std::vector<sycl::event>& dependencies = {});

/**
 * \brief Central sums of order 2 to 4 about a mean given by the caller.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; tested for nothing
 * \param data the dataset
 * \param central_sum_2 output of order 2, `n_dims` elements; not optional
 * \param central_sum_3 output of order 3, `n_dims` elements or absent
 * \param central_sum_4 output of order 4, `n_dims` elements or absent
 * \throws invalid_argument as above, then if the mean has size 0
 *
 * Order k is the sum of w * (x - mean)^k.
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void central_sum(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                  const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> central_sum_2, sycl::buffer<T, 1> central_sum_3,
                                  sycl::buffer<T, 1> central_sum_4);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; whatever computes it belongs to the dependencies
 * \param data the dataset
 * \param central_sum_2 output of order 2, `n_dims` elements; not optional
 * \param central_sum_3 output of order 3, `n_dims` elements or absent
 * \param central_sum_4 output of order 4, `n_dims` elements or absent
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument as above, then if the mean is null
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event central_sum(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                         T* central_sum_2, T* central_sum_3, T* central_sum_4,
                                         const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
