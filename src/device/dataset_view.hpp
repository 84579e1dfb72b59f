/**
 * \file dataset_view.hpp
 * \brief The dataset as kernels see it: addressing, mask and weights.
 */
#pragma once

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>

namespace aurelo::qtx::stats::detail {

/** \brief Index of element (dimension \p d, observation \p i) in `observations`. */
template <layout L, typename View>
std::size_t element_index(const View& view, std::size_t d, std::size_t i) {
    if constexpr (L == layout::by_dimension) {
        return d * view.n_observations + i;
    } else {
        return i * view.n_dims + d;
    }
}

/**
 * \brief Whether dimension \p d is computed: there is no mask, or its value is not 0. The mask holds 64-bit integers,
 * or 32-bit ones behind the same pointer type.
 */
template <bool index_64, typename View>
bool is_unmasked(const View& view, std::size_t d) {
    if (!view.has_indices) {
        return true;
    }
    if constexpr (index_64) {
        return view.indices[d] != 0;
    } else {
        // Reading the 64-bit word would touch memory past the end of a mask of odd length.
        return reinterpret_cast<const std::int32_t*>(view.indices)[d] != 0;
    }
}

/** \brief Weight of observation \p i. What is not greater than 0, NaN included, counts as 1. */
template <typename T, typename View>
T delivered_weight(const View& view, std::size_t i) {
    const T weight = view.has_weights ? view.weights[i] : T(1);
    return weight > T(0) ? weight : T(1);
}

/**
 * \brief The kernels' view of a dataset.
 * \tparam is_usm plain pointers, which may be null; otherwise placeholder accessors
 * \tparam index_64 the mask holds 64-bit integers; otherwise 32-bit ones behind the same pointer type
 */
template <typename T, layout L, bool is_usm, bool index_64>
struct dataset_helper;

/** \brief View of buffers. The caller keeps the one-element buffers that are bound where an array is absent. */
template <typename T, layout L>
struct dataset_helper<T, L, false, true> {
    template <typename U>
    using read_access = sycl::accessor<U, 1, sycl::access_mode::read, sycl::target::device>;

    dataset_helper(dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1>& spare_weights,
                   sycl::buffer<std::int64_t, 1>& spare_indices)
        : n_dims(static_cast<std::uint64_t>(data.n_dims)),
          n_observations(static_cast<std::uint64_t>(data.n_observations)),
          layout(static_cast<std::uint64_t>(L)), observations(data.observations),
          weights(data.weights.size() != 0 ? data.weights : spare_weights),
          indices(data.indices.size() != 0 ? data.indices : spare_indices),
          has_weights(data.weights.size() != 0), has_indices(data.indices.size() != 0) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(observations);
        handler.require(weights);
        handler.require(indices);
    }

    T get_weight(std::size_t i) const { return delivered_weight<T>(*this, i); }
    T element(std::size_t d, std::size_t i) const { return observations[element_index<L>(*this, d, i)]; }
    bool computes(std::size_t d) const { return is_unmasked<true>(*this, d); }

    std::uint64_t n_dims;
    std::uint64_t n_observations;
    std::uint64_t layout;
    read_access<T> observations;
    read_access<T> weights;
    read_access<std::int64_t> indices;
    bool has_weights;
    bool has_indices;
};

/** \brief View of unified shared memory: a plain record. */
template <typename T, layout L, bool index_64>
struct dataset_helper<T, L, true, index_64> {
    T get_weight(std::size_t i) const { return delivered_weight<T>(*this, i); }
    T element(std::size_t d, std::size_t i) const { return observations[element_index<L>(*this, d, i)]; }
    bool computes(std::size_t d) const { return is_unmasked<index_64>(*this, d); }

    std::uint64_t n_dims;
    std::uint64_t n_observations;
    std::uint64_t layout;
    T* observations;
    T* weights;
    std::int64_t* indices;
    bool has_weights;
    bool has_indices;
};

/** \brief The view of a dataset of pointers. */
template <bool index_64, layout L, typename T>
dataset_helper<T, L, true, index_64> make_helper(const dataset<L, T*>& data) {
    return {static_cast<std::uint64_t>(data.n_dims),
            static_cast<std::uint64_t>(data.n_observations),
            static_cast<std::uint64_t>(L),
            data.observations,
            data.weights,
            data.indices,
            data.weights != nullptr,
            data.indices != nullptr};
}

namespace gpu {

template <bool row_layout>
inline constexpr layout layout_of = row_layout ? layout::by_dimension : layout::by_observation;
template <layout L>
inline constexpr bool is_row_layout = L == layout::by_dimension;

/** \brief The view that the kernels of a functor take. */
template <typename Functor, bool row_layout, bool index_64>
using functor_helper =
    dataset_helper<typename Functor::element_type, layout_of<row_layout>, Functor::usm, index_64>;

} // namespace gpu
} // namespace aurelo::qtx::stats::detail
