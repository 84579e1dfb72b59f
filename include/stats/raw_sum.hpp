/**
 * \file raw_sum.hpp
 * \brief Raw sums of order 1 to 4 of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Raw sums of order 1 to 4 of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param sum output of order 1, `n_dims` elements; not optional
 * \param raw_sum_2 output of order 2, `n_dims` elements or absent
 * \param raw_sum_3 output of order 3, `n_dims` elements or absent
 * \param raw_sum_4 output of order 4, `n_dims` elements or absent
 * \throws invalid_argument if sum is absent, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * Order k is the sum of w * x^k; w is 1 without weights. All orders are computed in the same pass over the
 * data.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void raw_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                              sycl::buffer<T, 1> sum, sycl::buffer<T, 1> raw_sum_2,
                              sycl::buffer<T, 1> raw_sum_3, sycl::buffer<T, 1> raw_sum_4);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param sum output of order 1, `n_dims` elements; not optional
 * \param raw_sum_2 output of order 2, `n_dims` elements or absent
 * \param raw_sum_3 output of order 3, `n_dims` elements or absent
 * \param raw_sum_4 output of order 4, `n_dims` elements or absent
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if sum is absent, or (GPU) a count of the dataset is below 1
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event raw_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum, T* raw_sum_2,
                                     T* raw_sum_3, T* raw_sum_4,
                                     const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
