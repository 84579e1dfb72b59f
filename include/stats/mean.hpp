/**
 * \file mean.hpp
 * \brief Mean of every dimension.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/export.hpp>
#include <stats/method.hpp>

#include <vector>

namespace aurelo::qtx::stats {

/**
 * \brief Mean of every dimension.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param mean output, `n_dims` elements
 * \throws invalid_argument if the output has size 0, or (GPU) a count of the dataset is below 1
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * With weights w of total W: sum of x * w / W; without, W is `n_observations`.
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT void mean(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                           sycl::buffer<T, 1> mean);

/**
 * \brief The same in unified shared memory.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset
 * \param mean output, `n_dims` elements
 * \param dependencies events that must finish before the data are read
 * \return the event of the last command
 * \throws invalid_argument if the output is null, or (GPU) a count of the dataset is below 1
 */
template <method M = method::fast, typename T, layout L>
QTX_STATS_EXPORT sycl::event mean(sycl::queue& queue, const dataset<L, T*>& data, T* mean,
                                  const std::vector<sycl::event>& dependencies = {});

} // namespace aurelo::qtx::stats
