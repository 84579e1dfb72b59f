/**
 * \file dataset_helper.hpp
 * \brief What a kernel sees of a dataset.
 */
#pragma once

#include "dataset_access.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>

namespace aurelo::qtx::stats::detail {

/**
 * \brief The kernels' view of a dataset.
 * \tparam is_usm plain pointers, which may be null; otherwise placeholder accessors
 * \tparam index_64 the mask holds 64-bit integers; otherwise 32-bit ones behind the same pointer type
 */
template <typename T, layout L, bool is_usm, bool index_64>
struct dataset_helper;

/** \brief View of buffers. The caller keeps one-element buffers that stand in for an absent array. */
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
    std::size_t next_dimension(std::size_t d) const { return next_unmasked<true>(*this, d); }

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
    std::size_t next_dimension(std::size_t d) const { return next_unmasked<index_64>(*this, d); }

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

/** \brief The view that the kernels of a functor take. */
template <typename Functor, bool row_layout, bool index_64>
using functor_helper =
    dataset_helper<typename Functor::element_type, layout_of<row_layout>, Functor::usm, index_64>;

} // namespace gpu
} // namespace aurelo::qtx::stats::detail
