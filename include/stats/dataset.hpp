/**
 * \file dataset.hpp
 * \brief The data that an estimate is computed of.
 */
#pragma once

#include <stats/layout.hpp>

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace aurelo::qtx::stats {

/**
 * \brief A matrix of `n_dims` dimensions by `n_observations` observations, with optional weights and mask.
 * \tparam L placement of the matrix in `observations`
 * \tparam Data `sycl::buffer<T, 1>` or `T*` (USM), with T float or double
 *
 * - `weights` holds one weight per observation. A weight that is not greater than 0 (zero, negative, NaN)
 * counts as 1.
 * - `indices` is the mask: one integer per dimension; 0 leaves the dimension out, any other value includes
 * it. Results stay at the positions of their dimensions; nothing is stored for a dimension that is left out.
 *
 * Weights and mask are absent if their buffer has size 0 or their pointer is null, which is the default.
 * Nothing here is checked by the record; the estimates refuse counts below 1.
 */
template <layout L, typename Data>
struct dataset;

/** \brief Dataset in SYCL buffers. Copies share the buffers' storage. */
template <layout L, typename T>
struct dataset<L, sycl::buffer<T, 1>> {
    static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "datasets hold float or double");

    /** \brief The members from the arguments in their order; nothing is checked or copied. */
    dataset(std::int64_t dimension_count, std::int64_t observation_count, sycl::buffer<T, 1> matrix,
            sycl::buffer<T, 1> observation_weights = sycl::buffer<T, 1>(sycl::range<1>(0)),
            sycl::buffer<std::int64_t, 1> mask = sycl::buffer<std::int64_t, 1>(sycl::range<1>(0)))
        : n_dims(dimension_count), n_observations(observation_count), observations(std::move(matrix)),
          weights(std::move(observation_weights)), indices(std::move(mask)) {}

    std::int64_t n_dims;             /**< number of dimensions */
    std::int64_t n_observations;     /**< number of observations */
    sycl::buffer<T, 1> observations; /**< the matrix, `n_dims * n_observations` elements, placed as L says */
    sycl::buffer<T, 1> weights;      /**< one weight per observation, or of size 0 */
    sycl::buffer<std::int64_t, 1> indices; /**< one mask value per dimension, or of size 0 */
};

/**
 * \brief Dataset in unified shared memory. The record owns nothing: the memory must be usable by the queue's
 * device and live until the event of the estimate is complete.
 */
template <layout L, typename T>
struct dataset<L, T*> {
    static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "datasets hold float or double");

    /** \brief The members from the arguments in their order; nothing is checked or copied. */
    dataset(std::int64_t dimension_count, std::int64_t observation_count, T* matrix,
            T* observation_weights = nullptr, std::int64_t* mask = nullptr)
        : n_dims(dimension_count), n_observations(observation_count), observations(matrix),
          weights(observation_weights), indices(mask) {}

    std::int64_t n_dims;         /**< number of dimensions */
    std::int64_t n_observations; /**< number of observations */
    T* observations;             /**< the matrix, `n_dims * n_observations` elements, placed as L says */
    T* weights;                  /**< one weight per observation, or null */
    std::int64_t* indices;       /**< one mask value per dimension, or null */
};

/**
 * \brief Makes a dataset whose element type and storage follow from the arguments.
 *
 * `make_dataset<layout::by_dimension>(7, n, buffer)` or `make_dataset<layout::by_observation>(7, n, pointer,
 * weights)`: further arguments are the weights and the mask, in this order.
 */
template <layout L, typename T, typename... Options>
dataset<L, sycl::buffer<T, 1>> make_dataset(std::int64_t n_dims, std::int64_t n_observations,
                                            sycl::buffer<T, 1> observations, Options... options) {
    return {n_dims, n_observations, observations, options...};
}

/** \brief The same for unified shared memory. */
template <layout L, typename T, typename... Options>
dataset<L, T*> make_dataset(std::int64_t n_dims, std::int64_t n_observations, T* observations,
                            Options... options) {
    return {n_dims, n_observations, observations, options...};
}

} // namespace aurelo::qtx::stats
