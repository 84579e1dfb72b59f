#pragma once

#include <array>

#include <stats/stats.hpp>

#include "estimate_list.hpp"

namespace aurelo::qtx::describe {

// One piece of code makes the calls of both forms: they differ in the types of dataset and arrays only, and
// what the USM form returns is not needed where the queue is waited for.

/// Calls that exist for the fast method only.
template <typename Data, typename Array>
void call_extremes(call_name call, sycl::queue& queue, const Data& data, const std::array<Array, 4>& out) {
    switch (call) {
    case call_name::min:
        stats::min(queue, data, out[0]);
        break;
    case call_name::max:
        stats::max(queue, data, out[0]);
        break;
    default:
        stats::min_max(queue, data, out[0], out[1]);
        break;
    }
}

/// Calls that exist for both methods.
template <stats::method M, typename Data, typename Array>
void call_moments(call_name call, sycl::queue& queue, const Data& data, const std::array<Array, 4>& out) {
    switch (call) {
    case call_name::mean:
        stats::mean<M>(queue, data, out[0]);
        break;
    case call_name::raw_sum:
        stats::raw_sum<M>(queue, data, out[0], out[1], out[2], out[3]);
        break;
    case call_name::raw_moment:
        stats::raw_moment<M>(queue, data, out[0], out[1], out[2], out[3]);
        break;
    case call_name::central_sum:
        stats::central_sum<M>(queue, data, out[0], out[1], out[2]);
        break;
    case call_name::central_moment:
        stats::central_moment<M>(queue, data, out[0], out[1], out[2]);
        break;
    case call_name::variation:
        stats::variation<M>(queue, data, out[0]);
        break;
    case call_name::skewness:
        stats::skewness<M>(queue, data, out[0]);
        break;
    case call_name::kurtosis:
        stats::kurtosis<M>(queue, data, out[0]);
        break;
    default:
        break;
    }
}

/// Calls about the caller's mean.
template <typename Data, typename Array>
void call_about_mean(call_name call, sycl::queue& queue, const Array& mean, const Data& data,
                     const std::array<Array, 4>& out) {
    switch (call) {
    case call_name::central_sum:
        stats::central_sum(queue, mean, data, out[0], out[1], out[2]);
        break;
    case call_name::central_moment:
        stats::central_moment(queue, mean, data, out[0], out[1], out[2]);
        break;
    case call_name::variation:
        stats::variation(queue, mean, data, out[0]);
        break;
    case call_name::skewness:
        stats::skewness(queue, mean, data, out[0]);
        break;
    case call_name::kurtosis:
        stats::kurtosis(queue, mean, data, out[0]);
        break;
    default:
        break;
    }
}

/// Makes the call that \p planned tells.
template <typename Data, typename Array>
void make_call(const planned_call& planned, bool standard_method, sycl::queue& queue, const Data& data,
               const Array& mean, const std::array<Array, 4>& out) {
    if (is_extreme(planned.call)) {
        call_extremes(planned.call, queue, data, out);
    } else if (planned.about_mean) {
        call_about_mean(planned.call, queue, mean, data, out);
    } else if (standard_method) {
        call_moments<stats::method::standard>(planned.call, queue, data, out);
    } else {
        call_moments<stats::method::fast>(planned.call, queue, data, out);
    }
}

} // namespace aurelo::qtx::describe
