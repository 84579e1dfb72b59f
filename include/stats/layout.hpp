/**
 * \file layout.hpp
 * \brief How a matrix of observations lies in memory.
 */
#pragma once

#include <stats/export.hpp>

#include <cstdint>

namespace aurelo::qtx::stats {

/**
 * \brief Placement of `n_dims` dimensions by `n_observations` observations in one-dimensional storage.
 *
 * With two dimensions and three observations, dimension 1 of observation 0 stands at position 3 in
 * `by_dimension` and at position 1 in `by_observation`.
 */
enum class QTX_STATS_EXPORT layout : std::int64_t {
    /** Element (dimension d, observation i) at `d * n_observations + i`: one dimension is contiguous. */
    by_dimension = 0x10000,
    /** Element (dimension d, observation i) at `i * n_dims + d`: one observation is contiguous. */
    by_observation = 0x20000
};

} // namespace aurelo::qtx::stats
