/**
 * \file minmax_functors.hpp
 * \brief The estimates max, min and min_max on a GPU device: their reductions and outputs.
 */
#pragma once

#include "reductions.hpp"
#include "storage.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

template <typename T, bool is_usm>
using minmax_output = array_of<T, is_usm, sycl::access_mode::write>;

/** \brief The one output of an estimate with one reduction. */
template <typename T, bool is_usm>
struct single_output {
    static constexpr bool usm = is_usm;

    explicit single_output(array_argument<T, is_usm> result) : out(result) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    template <std::size_t i>
    const minmax_output<T, is_usm>& output() const {
        return out;
    }

    minmax_output<T, is_usm> out;
};

/** \brief Minimum of every dimension. */
template <typename T, bool is_usm>
struct min_func_fast : single_output<T, is_usm> {
    using element_type = T;
    using reductions = reduction_list<minimum_reduction<T>>;
    static constexpr const char* estimate = "min";
    using single_output<T, is_usm>::single_output;
};

/** \brief Maximum of every dimension. */
template <typename T, bool is_usm>
struct max_func_fast : single_output<T, is_usm> {
    using element_type = T;
    using reductions = reduction_list<maximum_reduction<T>>;
    static constexpr const char* estimate = "max";
    using single_output<T, is_usm>::single_output;
};

/** \brief Minimum and maximum of every dimension in one pass. */
template <typename T, bool is_usm>
struct min_max_func_fast {
    using element_type = T;
    using reductions = reduction_list<minimum_reduction<T>, maximum_reduction<T>>;
    static constexpr bool usm = is_usm;
    static constexpr const char* estimate = "min_max";

    min_max_func_fast(array_argument<T, is_usm> minima, array_argument<T, is_usm> maxima)
        : min_out(minima), max_out(maxima) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        handler.require(min_out);
        handler.require(max_out);
    }

    template <std::size_t i>
    const minmax_output<T, is_usm>& output() const {
        if constexpr (i == 0) {
            return min_out;
        } else {
            return max_out;
        }
    }

    minmax_output<T, is_usm> min_out;
    minmax_output<T, is_usm> max_out;
};

} // namespace aurelo::qtx::stats::detail::gpu
