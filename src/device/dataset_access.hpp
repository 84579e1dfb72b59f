/**
 * \file dataset_access.hpp
 * \brief Addressing, mask and weights of a dataset, in device code and for any view of it.
 */
#pragma once

#include <stats/layout.hpp>

#include <cstddef>
#include <cstdint>

namespace aurelo::qtx::stats::detail {

/** \brief Position of element (dimension \p d, observation \p i) in `observations`. */
template <layout L, typename View>
std::size_t element_index(const View& view, std::size_t d, std::size_t i) {
    if constexpr (L == layout::by_dimension) {
        return d * view.n_observations + i;
    } else {
        return i * view.n_dims + d;
    }
}

/**
 * \brief Mask value of dimension \p d: a 64-bit word, or the d-th of 32-bit integers that lie behind the same
 * type.
 */
template <bool index_64, typename Indices>
bool is_unmasked(const Indices& indices, std::size_t d) {
    if constexpr (index_64) {
        return indices[d] != 0;
    } else {
        // Reading the 64-bit word would touch memory past the end of a mask of odd length.
        return reinterpret_cast<const std::int32_t*>(indices)[d] != 0;
    }
}

/** \brief The first dimension from \p d on that the mask lets through, or `n_dims`. */
template <bool index_64, typename View>
std::size_t next_unmasked(const View& view, std::size_t d) {
    if (view.has_indices) {
        while (d < view.n_dims && !is_unmasked<index_64>(view.indices, d)) {
            ++d;
        }
    }
    return d;
}

/** \brief Weight of observation \p i. What is not greater than 0, NaN included, counts as 1. */
template <typename T, typename View>
T delivered_weight(const View& view, std::size_t i) {
    const T weight = view.has_weights ? view.weights[i] : T(1);
    return weight > T(0) ? weight : T(1);
}

} // namespace aurelo::qtx::stats::detail
