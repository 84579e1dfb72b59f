/**
 * \file central_moment.hpp
 * \brief Central moments of order 2 to 4 of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Central moments of order 2 to 4 of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param central_moment_2 output of order 2, `n_dims` elements; not optional
 * \param central_moment_3 output of order 3, `n_dims` elements or absent
 * \param central_moment_4 output of order 4, `n_dims` elements or absent
 * \throws invalid_argument if central_moment_2 is absent, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 * \throws unimplemented for method::standard on a GPU device
 *
 * Order 2 is C2 * W / (W^2 - W2), with C2 the central sum, W the sum of the weights and W2 the sum of their
 * squares: the sample variance with denominator n - 1 without weights. Orders 3 and 4 are the central sums
 * divided by W. On a GPU device central sums are expanded from raw sums of one pass; see central_sum().
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void central_moment(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                     sycl::buffer<T, 1> central_moment_2, sycl::buffer<T, 1> central_moment_3,
                                     sycl::buffer<T, 1> central_moment_4);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param central_moment_2 output of order 2, `n_dims` elements; not optional
 * \param central_moment_3 output of order 3, `n_dims` elements or absent
 * \param central_moment_4 output of order 4, `n_dims` elements or absent
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if central_moment_2 is absent, or (GPU) a count of the dataset is below 1
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the results are there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event central_moment(sycl::queue& queue, const dataset<L, T*>& data,
                                            T* central_moment_2, T* central_moment_3, T* central_moment_4,
                                            const std::vector<sycl::event>& dependencies = {});

/**
 * \brief Central moments of order 2 to 4 about a mean given by the caller.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; tested for nothing
 * \param data the dataset
 * \param central_moment_2 output of order 2, `n_dims` elements; not optional
 * \param central_moment_3 output of order 3, `n_dims` elements or absent
 * \param central_moment_4 output of order 4, `n_dims` elements or absent
 * \throws invalid_argument as above, then if the mean has size 0
 *
 * The denominators are those above.
 * Exists for method::fast.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void central_moment(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                     const dataset<L, sycl::buffer<T, 1>>& data,
                                     sycl::buffer<T, 1> central_moment_2, sycl::buffer<T, 1> central_moment_3,
                                     sycl::buffer<T, 1> central_moment_4);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param mean input, `n_dims` elements; whatever computes it belongs to the dependencies
 * \param data the dataset
 * \param central_moment_2 output of order 2, `n_dims` elements; not optional
 * \param central_moment_3 output of order 3, `n_dims` elements or absent
 * \param central_moment_4 output of order 4, `n_dims` elements or absent
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument as above, then if the mean is null
 * \throws device_bad_alloc if a CPU device has no memory for intermediate results
 *
 * On a CPU device the calling thread blocks until the results are there.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event central_moment(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                            T* central_moment_2, T* central_moment_3, T* central_moment_4,
                                            const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
