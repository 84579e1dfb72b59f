/**
 * \file compute.hpp
 * \brief The library's calls on arrays in plain memory. Knows nothing of Python, so that it runs without its lock.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <sycl/sycl.hpp>

#include "estimate_list.hpp"

namespace aurelo::qtx::python {

/** \brief A matrix and what belongs to it, in memory of the caller; null where it has none. */
template <typename T>
struct matrix {
    std::size_t n_dims;
    std::size_t n_observations;
    bool by_observation;      /**< one observation is contiguous, else one dimension is */
    const T* observations;    /**< `n_dims * n_observations` elements */
    const T* weights;         /**< one per observation, or null */
    const T* mean;            /**< one per dimension, for calls about a given mean */
    const std::int64_t* mask; /**< one per dimension, 0 leaves it out; or null */
};

/** \brief A call and the memory of its outputs, `n_dims` elements each; null for an output that is absent. */
template <typename T>
struct call_with_outputs {
    const describe::planned_call* planned;
    std::array<T*, 4> outputs;
};

/**
 * \brief Makes the calls and waits for the results.
 *
 * The library gets buffers over the memory given: a CPU device works in this memory itself, another device moves it
 * to and from its own, once for all calls. Inputs are never written; an output's element of a masked dimension keeps
 * its value. Whatever way out is taken, no command uses the memory any more.
 *
 * Errors of the library and of the runtime are thrown as they are, asynchronous ones included. May be called by
 * several threads at once, with inputs in common.
 */
template <typename T>
void compute(const sycl::device& device, const matrix<T>& data, bool standard_method,
             const std::vector<call_with_outputs<T>>& calls);

} // namespace aurelo::qtx::python
